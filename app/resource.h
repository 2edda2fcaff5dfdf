// SPDX-License-Identifier: MIT
//
// Identifiers of the resources. Read by the resource compiler as well: macros only.
#pragma once

#define IDI_MELORIN 1
#define IDR_DEMO_TUNE 100
#define IDR_DEMO_LYRIC 101
