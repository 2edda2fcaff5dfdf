// SPDX-License-Identifier: MIT
#include "cli/skin_input.h"

namespace melorin {
namespace {

const char* FailureText(SkinPackageResult result) {
  switch (result) {
    case SkinPackageResult::kOpened:
      break;
    case SkinPackageResult::kMissing:
      return "no such file or folder";
    case SkinPackageResult::kNoPackage:
      return "neither a folder nor a ZIP archive, or a damaged one";
    case SkinPackageResult::kNotSupported:
      return "an archive in several volumes, encrypted or too large";
  }
  return "cannot be opened";
}

}  // namespace

std::unique_ptr<SkinPackage> OpenSkin(const CommandContext& context, const std::string& name_utf8,
                                      std::vector<uint8_t>* description) {
  std::string error;
  const auto path = PathFromArgument(name_utf8, &error);
  if (!path) {
    context.Fail(error);
    return nullptr;
  }
  std::unique_ptr<SkinPackage> package;
  const SkinPackageResult opened = OpenSkinPackage(*path, &package);
  if (opened != SkinPackageResult::kOpened) {
    context.Fail(name_utf8, FailureText(opened));
    return nullptr;
  }
  if (!package->Read(kSkinFileName, *description)) {
    context.Fail(name_utf8, "no Skin.xml in the package, or one that is damaged or too large");
    return nullptr;
  }
  return package;
}

const char* SkinFailureText(SkinReadResult result) {
  switch (result) {
    case SkinReadResult::kRead:
      break;
    case SkinReadResult::kNoXml:
      return "Skin.xml is not well-formed XML";
    case SkinReadResult::kNoSkin:
      return "Skin.xml describes no skin: the outermost element has another name";
    case SkinReadResult::kWrongVersion:
      return "Skin.xml is not of version 2";
  }
  return "Skin.xml cannot be read";
}

}  // namespace melorin
