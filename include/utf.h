#ifndef UTF_H
#define UTF_H

// The whole interface of the library: its value types, its start and end, the numerical routines,
// and the companion modules' types that appear in its signatures. Link utf::utf.
//
// include/ holds the public headers, each a contract (declarations, what each operation promises);
// the conventions they share are stated once in utf_Conventions.h, the assertions in
// utf_Assert.h. The definitions live in utf/impl/ and are compiled under the project's flags only.

// Companion modules.
#include "KPTatr.h"
#include "KPTcow.h"
#include "KPTgsl.h"
#include "KPTmem.h"
#include "KPTnex.h"
#include "aio_ostream.h"
#include "atr_String.h"
#include "cls_Uid.h"
#include "cow_1DArray.h"
#include "cow_1DArrayList.h"
#include "cow_2DArray.h"
#include "cow_String.h"
#include "gsl_Matrix.h"
#include "gsl_Plane.h"
#include "gsl_Point.h"
#include "gsl_Vector.h"
#include "nex_AssertException.h"
#include "nex_Exception.h"

// The library.
#include "res_DataTypeEnm.h"
#include "utf_Assert.h"
#include "utf_Constants.h"
#include "utf_Conventions.h"
#include "utf_EngineeringData.h"
#include "utf_Export.h"
#include "utf_Lifecycle.h"
#include "utf_Quat2dBase.h"
#include "utf_Quat3dBase.h"
#include "utf_Quaternion.h"
#include "utf_QuaternionAdapters.h"
#include "utf_Tensor.h"
#include "utf_TensorKernels.h"
#include "utf_Vector.h"
#include "utf_numerics.h"

#endif
