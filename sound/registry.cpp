// SPDX-License-Identifier: MIT
//
// See registry.h.
#include "sound/registry.h"

#include <utility>

#include "sound/reader_patterns.h"
#include "sound/text_out.h"

namespace melorin {
namespace {

template <class Interface>
bool Append(std::vector<RegistryEntry<Interface>>& list, const GUID& iid, IUnknown& object,
            AddInModule* module, uint32_t index) {
  RegistryEntry<Interface> entry;
  entry.module = module;
  entry.index = index;
  if (FAILED(object.QueryInterface(iid, entry.object.ReceiveVoid())) || !entry.object) return false;
  list.push_back(std::move(entry));
  return true;
}

/// Drops what a module that failed half way had registered.
template <class Interface>
void RemoveOf(std::vector<RegistryEntry<Interface>>& list, const AddInModule* module) {
  std::erase_if(list, [module](const auto& entry) { return entry.module == module; });
}

}  // namespace

void Registry::Add(const ComPtr<SoundReader>& reader) {
  if (reader) Append(readers, kIidSoundReader, *reader, nullptr, 0);
}

void Registry::Add(const ComPtr<SoundDecoderEntry>& decoder) {
  if (decoder) Append(decoders, kIidSoundDecoderEntry, *decoder, nullptr, 0);
}

void Registry::Add(const ComPtr<SoundOutputEntry>& output) {
  if (output) Append(outputs, kIidSoundOutputEntry, *output, nullptr, 0);
}

bool Registry::AddOfKind(AddInModule* module, uint32_t index, const GUID& kind, IUnknown& object) {
  if (SameGuid(kind, kIidSoundReader)) return Append(readers, kIidSoundReader, object, module, index);
  if (SameGuid(kind, kIidSoundDecoderEntry))
    return Append(decoders, kIidSoundDecoderEntry, object, module, index);
  if (SameGuid(kind, kIidSoundOutputEntry))
    return Append(outputs, kIidSoundOutputEntry, object, module, index);
  if (!SameGuid(kind, kIidSoundExtension)) return false;
  if (!Append(extensions, kIidSoundExtension, object, module, index)) return false;
  extensions.back().object->Register(&extensions.back().extra);
  return true;
}

HRESULT Registry::AddModule(const std::string& path_gbk) {
  auto module = std::make_unique<AddInModule>(path_gbk);
  HRESULT result = module->Load();
  if (FAILED(result)) return result;
  AddInModule* const supplier = module.get();
  modules.push_back(std::move(module));
  try {
    result = AddEntries(supplier, [supplier](uint32_t index, GUID* kind, IUnknown** object) {
      return supplier->GetEntry(index, kind, object);
    });
  } catch (...) {
    RemoveOf(readers, supplier);
    RemoveOf(decoders, supplier);
    RemoveOf(outputs, supplier);
    RemoveOf(extensions, supplier);
    modules.pop_back();
    throw;
  }
  if (FAILED(result)) modules.pop_back();
  return result;
}

void Registry::BuildExtensionLists() {
  for (auto& reader : readers) {
    TaskText description;
    if (FAILED(reader.object->GetDescription(description.Receive()))) continue;
    const auto parsed = ParseDescription(description.get());
    reader.extensions = parsed ? ExtensionList(parsed->patterns) : std::u16string();
  }
}

void Registry::Clear() {
  readers.clear();
  decoders.clear();
  outputs.clear();
  extensions.clear();
  modules.clear();
}

}  // namespace melorin
