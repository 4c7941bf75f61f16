// The element types that the module provides: numbers and nested lists of numbers.

#include "cow_1DArray.h"
#include "cow_1DArrayList.h"
#include "cow_2DArray.h"

template class cow_1DArray<float>;
template class cow_1DArray<double>;
template class cow_1DArrayList<float>;
template class cow_1DArrayList<double>;
template class cow_1DArray<cow_1DArrayList<float>>;
template class cow_1DArray<cow_1DArrayList<double>>;
template class cow_1DArrayList<cow_1DArrayList<float>>;
template class cow_1DArrayList<cow_1DArrayList<double>>;
template class cow_2DArray<float>;
template class cow_2DArray<double>;
