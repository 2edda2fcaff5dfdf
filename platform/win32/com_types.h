// SPDX-License-Identifier: MIT
//
// Windows half of com.h: the platform's own definitions. Include platform/com.h instead.
#pragma once

#include <windows.h>

#include <mmreg.h>
#include <objbase.h>
#include <objidl.h>
#include <unknwn.h>
