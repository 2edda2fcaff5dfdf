// SPDX-License-Identifier: MIT
//
// The lists behind SoundLibrary and what fills them: built-in objects one by one, add-in objects as a module
// enumerates them. Kept apart from SoundLibrary so that tests can register objects of their own.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/com_ptr.h"
#include "sound/add_in_module.h"
#include "sound/interfaces.h"

namespace melorin {

/// One registered object. `module` is null for a built-in one, `index` its place in the module.
template <class Interface>
struct RegistryEntry {
  AddInModule* module = nullptr;
  uint32_t index = 0;
  ComPtr<Interface> object;
  std::u16string extensions;  ///< Readers only: ";*.wav;"; empty when the description names none.
  void* extra = nullptr;      ///< Fourth kind only: what its slot-4 operation stored; never looked into.
};

/// Thread: written at start-up only, read from any thread afterwards.
struct Registry {
  std::vector<RegistryEntry<SoundReader>> readers;
  std::vector<RegistryEntry<SoundDecoderEntry>> decoders;
  std::vector<RegistryEntry<SoundOutputEntry>> outputs;
  std::vector<RegistryEntry<SoundExtension>> extensions;
  std::vector<std::unique_ptr<AddInModule>> modules;

  /// Registers a built-in object; null or one that does not answer its interface is passed over.
  void Add(const ComPtr<SoundReader>& reader);
  void Add(const ComPtr<SoundDecoderEntry>& decoder);
  void Add(const ComPtr<SoundOutputEntry>& output);

  /// Asks for entry 0, 1, 2, … until the enumeration fails and registers the ones of a known kind, `module`
  /// as their supplier. E_NOTIMPL when there was none.
  template <class Enumerate>
  HRESULT AddEntries(AddInModule* module, Enumerate&& get_entry) {
    size_t known = 0;
    for (uint32_t index = 0; index < kMaxAddInEntries; ++index) {
      GUID kind{};
      IUnknown* object = nullptr;
      if (FAILED(get_entry(index, &kind, &object))) break;
      const auto owned = ComPtr<IUnknown>::Adopt(object);
      if (owned && AddOfKind(module, index, kind, *owned)) ++known;
    }
    return known > 0 ? S_OK : E_NOTIMPL;
  }

  /// Loads the module and registers what it offers. On failure nothing of it is left registered and it is
  /// unloaded again.
  HRESULT AddModule(const std::string& path_gbk);

  /// Builds every reader's extension list from its description.
  void BuildExtensionLists();

  /// Empties the lists: readers, decoders, outputs, fourth list, modules.
  void Clear();

 private:
  /// An enumeration that never ends must not hang the start.
  static constexpr uint32_t kMaxAddInEntries = 4096;

  bool AddOfKind(AddInModule* module, uint32_t index, const GUID& kind, IUnknown& object);
};

}  // namespace melorin
