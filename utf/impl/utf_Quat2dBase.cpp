// The two instantiations of utf_Quat2dBase.

#include "utf_Quat2dBase.h"

template class utf_Quat2dBase<float>;
template class utf_Quat2dBase<double>;
