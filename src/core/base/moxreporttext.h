#pragma once
// MoxReportText lives in an installed header, since public headers name their report texts too.

#include "moxsdk/core/detail/moxreporttext.h"
