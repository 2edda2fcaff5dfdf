// SPDX-License-Identifier: MIT
//
// Two buttons of a page that keep a group of settings in a profile (see doc/profile.h) and take it from one.
#pragma once

#include <string>
#include <utility>

#include "app/options/page_window.h"
#include "doc/profile.h"

namespace melorin {

/// Group: what the profile holds, a base of the section that `look` gives. `last`: the path used last.
template <class Group>
struct ProfileButtons {
  SettingsPart part;
  std::u16string kind;  ///< "歌词外观配置".
  std::function<Group&(Settings&)> look;
  std::function<std::string&(Settings&)> last;

  void Add(PageWindow& page) const {
    page.Buttons({{u"载入配置...", [this_copy = *this, &page] { this_copy.Load(page); }},
                  {u"保存配置...", [this_copy = *this, &page] { this_copy.Save(page); }}})
        .WholeRow();
  }

 private:
  std::optional<std::string> Ask(PageWindow& page, bool save) const {
    const std::string& last_path = last(page.Values());
    const char* extension = ProfileExtension<Group>();
    FileQuestion question{(save ? u"保存" : u"载入") + kind, kind,
                          std::u16string(extension, extension + std::char_traits<char>::length(extension)),
                          last_path, save};
    if (last_path.empty()) question.now_gbk = FirstProfilePath<Group>(page.Host().DataFolderGbk());
    return page.Chooser().File(page.Window(), question);
  }

  void Remember(PageWindow& page, const std::string& path) const {
    last(page.Values()) = path;
    page.Host().SettingsChanged(SettingsPart::kHistory);
  }

  void Load(PageWindow& page) const {
    const std::optional<std::string> path = Ask(page, false);
    if (!path) return;
    Group group = look(page.Values());
    if (LoadProfile(*path, &group) != LoadResult::kLoaded)
      return page.Chooser().Tell(page.Window(), u"无法读取该配置文件。");
    look(page.Values()) = group;
    Remember(page, *path);
    page.Changed(part);
    page.Refresh();
  }

  void Save(PageWindow& page) const {
    const std::optional<std::string> path = Ask(page, true);
    if (!path) return;
    if (!SaveProfile(*path, look(page.Values())))
      return page.Chooser().Tell(page.Window(), u"无法写入该配置文件。");
    Remember(page, *path);
  }
};

}  // namespace melorin
