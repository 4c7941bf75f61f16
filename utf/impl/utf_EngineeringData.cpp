// The two instantiations of the engineering-data base.

#include "utf_EngineeringData.h"

template class utf_EngineeringData<float>;
template class utf_EngineeringData<double>;
