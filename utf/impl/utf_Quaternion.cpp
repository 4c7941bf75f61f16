// The two instantiations of utf_Quaternion.

#include "utf_Quaternion.h"

template class utf_Quaternion<float>;
template class utf_Quaternion<double>;
