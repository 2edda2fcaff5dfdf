// SPDX-License-Identifier: MIT
//
// The audio filters of the machine that can render, and what their pins take.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "playback/ks_data_range.h"
#include "playback/win32/ks_control.h"

namespace melorin {

/// A pin that takes PCM from a program.
struct KsRenderPin {
  ULONG id = 0;
  std::vector<KsAudioRange> ranges;
};

struct KsFilter {
  KsHandle handle;
  std::vector<KsRenderPin> pins;  ///< At least one.
  std::u16string name;            ///< "FriendlyName", or the path for want of one.
};

/// Walks over the filters that have a render pin, in the order that the platform lists their interfaces. Each
/// is opened and asked, so this is as slow as the drivers are. The api must outlive it and its filters.
/// Thread: one at a time.
class KsFilters {
 public:
  explicit KsFilters(const KsApi& api);
  ~KsFilters();
  KsFilters(const KsFilters&) = delete;
  KsFilters& operator=(const KsFilters&) = delete;

  /// Nothing after the last one. Throws bad_alloc.
  std::optional<KsFilter> Next();

 private:
  bool IsRenderer(SP_DEVICE_INTERFACE_DATA& device) const;
  std::u16string Path(SP_DEVICE_INTERFACE_DATA& device) const;
  std::u16string FriendlyName(SP_DEVICE_INTERFACE_DATA& device) const;
  std::vector<KsRenderPin> RenderPins(HANDLE filter) const;

  const KsApi& api_;
  const HDEVINFO set_;
  DWORD next_ = 0;
};

}  // namespace melorin
