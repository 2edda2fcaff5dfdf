// SPDX-License-Identifier: MIT
//
// The field collection and the tag object.
#include <gtest/gtest.h>

#include <string>

#include "platform/com_ptr.h"
#include "tags/tag_scan.h"
#include "tags/tag_set.h"

namespace melorin {
namespace {

TEST(TagFields, SetReplacesTheLastOfThatNameWithoutCase) {
  TagFields fields;
  fields.Add("Artist", "one");
  fields.Add("ARTIST", "two");
  fields.Set("artist", "three", false);
  ASSERT_EQ(fields.size(), 2u);
  EXPECT_EQ(fields.value(0), "one");
  EXPECT_EQ(fields.value(1), "three");
  EXPECT_EQ(*fields.Find("aRtIsT"), "three");
  EXPECT_EQ(fields.Find("Artis"), nullptr);
}

TEST(TagFields, KeepLongerComparesBytes) {
  TagFields fields;
  fields.Set("Title", "\xE4\xBD\xA0", true);
  fields.Set("Title", "abc", true);
  EXPECT_EQ(*fields.Find("Title"), "\xE4\xBD\xA0") << "same length in bytes";
  fields.Set("Title", "abcd", true);
  EXPECT_EQ(*fields.Find("Title"), "abcd");
  fields.Set("Title", "", false);
  EXPECT_EQ(*fields.Find("Title"), "");
}

TEST(TagFields, AnEmptyNameIsIgnored) {
  TagFields fields;
  fields.Set("", "x", false);
  fields.Add("", "x");
  EXPECT_EQ(fields.size(), 0u);
}

std::u16string Taken(WideChar* text) {
  std::u16string copy = text ? AsChar16(text) : u"(null)";
  CoTaskMemFree(text);
  return copy;
}

TEST(TagObject, HandsOutUtf16AndCountsReferences) {
  TagFields fields;
  fields.Add("Title", "\xE4\xBD\xA0 \xF0\x9F\x8E\xB5");
  ComPtr<TagSet> tags;
  ASSERT_EQ(CreateTagSet(fields, kTagApeV2, tags.Receive()), S_OK);

  ComPtr<IUnknown> unknown;
  ASSERT_EQ(tags->QueryInterface(IID_IUnknown, unknown.ReceiveVoid()), S_OK);
  EXPECT_EQ(unknown.get(), static_cast<IUnknown*>(tags.get()));
  void* other = &fields;
  EXPECT_EQ(tags->QueryInterface(IID_IStream, &other), E_NOINTERFACE);
  EXPECT_EQ(other, nullptr);

  uint32_t number = 0;
  EXPECT_EQ(tags->GetCount(&number), S_OK);
  EXPECT_EQ(number, 1u);
  EXPECT_EQ(tags->GetFlags(&number), S_OK);
  EXPECT_EQ(number, kTagApeV2);

  WideChar* name = nullptr;
  WideChar* value = nullptr;
  ASSERT_EQ(tags->GetField(0, &name, &value), S_OK);
  EXPECT_EQ(Taken(name), u"Title");
  EXPECT_EQ(Taken(value), u"你 🎵");
  EXPECT_EQ(tags->GetField(0, nullptr, nullptr), S_OK);
  EXPECT_EQ(tags->GetField(1, &name, &value), E_INVALIDARG);
  EXPECT_EQ(name, nullptr);

  ASSERT_EQ(tags->SetValue(AsWide(u"ARTIST"), AsWide(u"某人")), S_OK);
  ASSERT_EQ(tags->GetValue(AsWide(u"Artist"), &value), S_OK);
  EXPECT_EQ(Taken(value), u"某人");
  EXPECT_EQ(tags->GetValue(AsWide(u"Album"), &value), S_FALSE);
  EXPECT_EQ(value, nullptr);
  EXPECT_EQ(tags->GetValue(nullptr, &value), E_POINTER);

  unknown.Reset();
  EXPECT_EQ(tags.Detach()->Release(), 0u);
}

}  // namespace
}  // namespace melorin
