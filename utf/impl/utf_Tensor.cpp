// The two instantiations of the tensor value.

#include "utf_Tensor.h"

template class utf_Tensor<float>;
template class utf_Tensor<double>;
