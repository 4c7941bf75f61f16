// The two instantiations of utf_Quat3dBase.

#include "utf_Quat3dBase.h"

template class utf_Quat3dBase<float>;
template class utf_Quat3dBase<double>;
