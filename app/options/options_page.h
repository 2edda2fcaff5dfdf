// SPDX-License-Identifier: MIT
//
// OptionsPage: what one page of the options dialog holds. A page says which controls it has, in rows, and
// which setting each shows; PageWindow does the rest.
#pragma once

#include <memory>

#include "app/options/options_host.h"

namespace melorin {

class PageWindow;

/// Thread: the UI thread.
class OptionsPage {
 public:
  virtual ~OptionsPage() = default;
  /// Makes the controls, once.
  virtual void Build(PageWindow& page) = 0;
  /// The page is there for the user to see, for the first time: what takes long belongs here.
  virtual void OnFirstShown() {}
  /// The settings' values have changed: shows them in controls that are bound to none.
  virtual void OnRefresh() {}
  /// A setting of that section has changed by a control of the page; before anybody else hears of it.
  virtual void OnChanged(SettingsPart) {}
  /// Defaults for settings that are bound to no control of the page; Values have them for the others already.
  virtual void OnReset() {}
  /// False: there are no defaults to go back to.
  virtual bool HasDefaults() const { return true; }
};

std::unique_ptr<OptionsPage> MakeGeneralPage();
std::unique_ptr<OptionsPage> MakePlaybackPage();
std::unique_ptr<OptionsPage> MakeDevicePage();
std::unique_ptr<OptionsPage> MakeHotKeyPage();
std::unique_ptr<OptionsPage> MakeVisualPage();
std::unique_ptr<OptionsPage> MakePlayListPage();
std::unique_ptr<OptionsPage> MakePlayListLookPage();
std::unique_ptr<OptionsPage> MakeTagPage();
std::unique_ptr<OptionsPage> MakeLyricPage();
std::unique_ptr<OptionsPage> MakeLyricFilePage();
std::unique_ptr<OptionsPage> MakeNetworkPage();
std::unique_ptr<OptionsPage> MakeConvertPage();
std::unique_ptr<OptionsPage> MakePluginPage();
std::unique_ptr<OptionsPage> MakeSkinPage();
std::unique_ptr<OptionsPage> MakeFileTypePage();
std::unique_ptr<OptionsPage> MakeAboutPage();

}  // namespace melorin
