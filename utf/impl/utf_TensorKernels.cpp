// The two instantiations of each tensor component kernel.

#include "utf_TensorKernels.h"

template class utf_Tens3dFullBase<float>;
template class utf_Tens3dFullBase<double>;
template class utf_Tens3dPlanarBase<float>;
template class utf_Tens3dPlanarBase<double>;
template class utf_Tens3dSurfaceBase<float>;
template class utf_Tens3dSurfaceBase<double>;
template class utf_Tens2dPlanarBase<float>;
template class utf_Tens2dPlanarBase<double>;
template class utf_Tens2dSurfaceBase<float>;
template class utf_Tens2dSurfaceBase<double>;
