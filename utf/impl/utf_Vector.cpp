// The two instantiations of utf_Vector.

#include "utf_Vector.h"

template class utf_Vector<float>;
template class utf_Vector<double>;
