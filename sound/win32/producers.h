// SPDX-License-Identifier: MIT
//
// The parts of Windows that produce PCM from a file name.
#pragma once

#include <memory>

#include "sound/platform_source.h"

namespace melorin {

/// The media graph (DirectShow): runs as fast as its data is taken.
std::unique_ptr<PcmProducer> MakeGraphProducer();
/// The Windows Media runtime, loaded when first wanted; null on a system without it.
std::unique_ptr<PcmProducer> MakeWindowsMediaProducer();
/// Digital reading of a CD track through its drive.
std::unique_ptr<PcmProducer> MakeCdProducer();

}  // namespace melorin
