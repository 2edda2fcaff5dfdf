// SPDX-License-Identifier: MIT
#include "playlist/list_journal.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <thread>

#include "platform/file.h"
#include "platform/text.h"

namespace melorin {
namespace {

constexpr std::string_view kJournalName = "lists.journal";
constexpr std::string_view kNextName = "lists.journal.next";      // The one for phase 2, made in advance.
constexpr std::string_view kWritingName = "lists.journal.write";  // Not a journal yet.
constexpr std::string_view kTitle = "melorin lists 1";
constexpr std::string_view kStored = ".mzbl";
constexpr std::string_view kMoved = ".mzbl.tmp";
constexpr std::string_view kWritten = ".new";
constexpr size_t kMostLists = 100000;

/// FNV-1a, 32 bits (draft-eastlake-fnv).
uint32_t Checksum(std::string_view text) {
  uint32_t sum = 0x811C9DC5;
  for (const char c : text)
    sum = (sum ^ static_cast<unsigned char>(c)) * 0x01000193;
  return sum;
}

std::optional<size_t> ParseNumber(std::string_view text, int base = 10) {
  size_t value = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value, base);
  if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
  return value;
}

/// The text up to the next line end, which is taken away with it.
std::string_view TakeLine(std::string_view& rest) {
  const size_t end = rest.find("\r\n");
  const std::string_view line = rest.substr(0, end);
  rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 2);
  return line;
}

/// The number after a word and a space.
std::optional<size_t> NumberAfter(std::string_view line, std::string_view word) {
  if (!line.starts_with(word)) return std::nullopt;
  return ParseNumber(line.substr(word.size()));
}

std::span<const uint8_t> AsBytes(std::string_view text) {
  return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

/// Clears `readable` when a journal is there that cannot be opened now.
std::optional<ListJournal> ReadJournal(const std::string& folder, bool& readable) {
  MappedFile file;
  readable = file.Open(JoinPath(folder, kJournalName)) || !HasJournal(folder);
  if (!readable) return std::nullopt;
  return ParseJournal({reinterpret_cast<const char*>(file.Bytes().data()), file.Bytes().size()});
}

std::string NumberedPath(const std::string& folder, size_t number, std::string_view ending) {
  return JoinPath(folder, NumberedName(number, ending));
}

bool FreeTheNumbers(StorageDisk& disk, const std::string& folder, const ListJournal& journal) {
  for (size_t i = 0; i < journal.from.size(); ++i) {
    if (!journal.from[i] || *journal.from[i] == i) continue;
    const std::string moved = NumberedPath(folder, i, kMoved);
    const std::string stored = NumberedPath(folder, *journal.from[i], kStored);
    if (FileExists(moved) || !FileExists(stored)) continue;
    if (!disk.Move(stored, moved)) return false;
  }
  return true;
}

bool TakeTheNumbers(StorageDisk& disk, const std::string& folder, const ListJournal& journal) {
  for (size_t i = 0; i < journal.from.size(); ++i) {
    if (journal.from[i] == i) continue;
    const std::string made = NumberedPath(folder, i, journal.from[i] ? kMoved : kWritten);
    if (FileExists(made) && !disk.Move(made, NumberedPath(folder, i, kStored))) return false;
  }
  return true;
}

bool RollForward(StorageDisk& disk, const std::string& folder, ListJournal journal) {
  const std::string path = JoinPath(folder, kJournalName);
  if (journal.phase == 1) {
    if (!FreeTheNumbers(disk, folder, journal)) return false;
    journal.phase = 2;
    // The next journal lies ready, so that a full disk does not stop the save here.
    const std::string next = JoinPath(folder, kNextName);
    if (!FileExists(next) && !disk.Write(next, AsBytes(FormatJournal(journal)))) return false;
    if (!disk.Move(next, path)) return false;
  }
  if (!TakeTheNumbers(disk, folder, journal)) return false;
  CleanStorage(disk, folder, journal.from.size());
  return disk.Delete(path);
}

/// An undecided save has moved nothing; a list that was moved without a journal is nobody's, and is kept
/// under a number of its own. False when one could not be moved back: the next save would take it for its
/// own.
bool TakeBack(StorageDisk& disk, const std::string& folder) {
  size_t free_number = 0;
  std::vector<size_t> moved;
  for (const DirectoryEntry& entry : ListDirectory(folder)) {
    if (entry.is_directory) continue;
    const bool journal =
        entry.name_gbk == kJournalName || entry.name_gbk == kNextName || entry.name_gbk == kWritingName;
    if (journal || NumberOfName(entry.name_gbk, kWritten)) disk.Delete(JoinPath(folder, entry.name_gbk));
    if (const auto number = NumberOfName(entry.name_gbk, kMoved)) moved.push_back(*number);
    if (const auto number = NumberOfName(entry.name_gbk, kStored))
      free_number = std::max(free_number, *number + 1);
  }
  bool done = true;
  for (const size_t number : moved) {
    const bool is_free = !FileExists(NumberedPath(folder, number, kStored));
    done = disk.Move(NumberedPath(folder, number, kMoved),
                     NumberedPath(folder, is_free ? number : free_number++, kStored)) &&
           done;
  }
  return done;
}

}  // namespace

bool StorageDisk::Write(const std::string& path, std::span<const uint8_t> bytes) {
  File file;
  if (!file.Open(path, File::Access::kReadWrite, File::Share::kRead, File::Create::kAlways)) return false;
  return file.Write(bytes) == static_cast<int64_t>(bytes.size()) && file.Flush();
}

bool StorageDisk::Move(const std::string& from, const std::string& to) {
  for (int tries = 0;; ++tries) {
    if (ReplaceFileAt(from, to)) return true;
    if (tries == 5 || !FileExists(from)) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

bool StorageDisk::Delete(const std::string& path) {
  return DeleteFileAt(path);
}

std::string FormatJournal(const ListJournal& journal) {
  std::string text(kTitle);
  text += "\r\nphase " + std::to_string(journal.phase) + "\r\nlists " + std::to_string(journal.from.size()) +
          "\r\n";
  for (const auto& from : journal.from)
    text += from ? "from " + std::to_string(*from) + "\r\n" : "new\r\n";
  return text + "end " + std::to_string(Checksum(text)) + "\r\n";
}

std::optional<ListJournal> ParseJournal(std::string_view text) {
  std::string_view rest = text;
  if (TakeLine(rest) != kTitle) return std::nullopt;
  const auto phase = NumberAfter(TakeLine(rest), "phase ");
  const auto count = NumberAfter(TakeLine(rest), "lists ");
  if (!phase || *phase < 1 || *phase > 2 || !count || *count > kMostLists) return std::nullopt;
  ListJournal journal;
  journal.phase = static_cast<int>(*phase);
  for (size_t i = 0; i < *count; ++i) {
    const std::string_view line = TakeLine(rest);
    const auto from = NumberAfter(line, "from ");
    if (!from && line != "new") return std::nullopt;
    journal.from.push_back(from);
  }
  const std::string_view summed = text.substr(0, text.size() - rest.size());
  const auto sum = NumberAfter(TakeLine(rest), "end ");
  const bool whole = rest.empty() && text.ends_with("\r\n");
  if (!sum || *sum != Checksum(summed) || !whole) return std::nullopt;
  return journal;
}

std::string NumberedName(size_t number, std::string_view ending) {
  char digits[24];
  const int length = std::snprintf(digits, sizeof digits, "%03u", static_cast<unsigned>(number));
  return std::string(digits, static_cast<size_t>(length)).append(ending);
}

std::optional<size_t> NumberOfName(std::string_view name, std::string_view ending) {
  if (name.size() <= ending.size() || name.size() > ending.size() + 9) return std::nullopt;
  const size_t digits = name.size() - ending.size();
  if (!EqualNoCaseUtf8(name.substr(digits), ending)) return std::nullopt;
  const auto number = ParseNumber(name.substr(0, digits));
  if (!number || NumberedName(*number, ending).size() != name.size()) return std::nullopt;
  return number;
}

bool HasJournal(const std::string& folder) {
  return FileExists(JoinPath(folder, kJournalName));
}

bool CommitJournal(StorageDisk& disk, const std::string& folder, ListJournal journal) {
  const std::string writing = JoinPath(folder, kWritingName);
  const std::string next = JoinPath(folder, kNextName);
  journal.phase = 2;
  bool done = disk.Write(next, AsBytes(FormatJournal(journal)));
  journal.phase = 1;
  done = done && disk.Write(writing, AsBytes(FormatJournal(journal))) &&
         disk.Move(writing, JoinPath(folder, kJournalName));
  if (!done) {
    disk.Delete(writing);
    disk.Delete(next);
  }
  return done;
}

bool FinishSave(StorageDisk& disk, const std::string& folder) {
  bool readable = true;
  if (const auto journal = ReadJournal(folder, readable)) return RollForward(disk, folder, *journal);
  // A journal that another program holds for a moment still decides: its "%03d.new" must not go.
  return readable && TakeBack(disk, folder) && !HasJournal(folder);
}

void CleanStorage(StorageDisk& disk, const std::string& folder, size_t count) {
  for (const DirectoryEntry& entry : ListDirectory(folder)) {
    if (entry.is_directory) continue;
    const std::string_view name = entry.name_gbk;
    const auto ends_with = [name](std::string_view ending) {
      return name.size() >= ending.size() &&
             EqualNoCaseUtf8(name.substr(name.size() - ending.size()), ending);
    };
    // "7.mzbl" is not what this program writes, but it may be somebody's list 7: only numbers past the end
    // go.
    const auto number =
        ends_with(kStored) ? ParseNumber(name.substr(0, name.size() - kStored.size())) : std::nullopt;
    const bool is_list = number && *number < count;
    const bool is_ours = NumberOfName(name, kWritten) || name == kNextName || name == kWritingName;
    if (is_ours || ends_with(kMoved) || (ends_with(kStored) && !is_list))
      disk.Delete(JoinPath(folder, entry.name_gbk));
  }
}

}  // namespace melorin
