#pragma once
// moxsdk: polygon-mesh geometry for 3D asset pipelines. Include this header for the whole library.

#include "moxsdk/core/base/moxarray.h"
#include "moxsdk/core/base/moxcontainerallocators.h"
#include "moxsdk/core/base/moxredblacktree.h"
#include "moxsdk/core/math/moxamatrix.h"
#include "moxsdk/core/math/moxcolor.h"
#include "moxsdk/core/math/moxmath.h"
#include "moxsdk/core/math/moxvector2.h"
#include "moxsdk/core/math/moxvector4.h"
#include "moxsdk/core/moxassert.h"
#include "moxsdk/core/moxmemory.h"
#include "moxsdk/core/moxpair.h"
#include "moxsdk/core/moxstring.h"
#include "moxsdk/core/moxtypes.h"
