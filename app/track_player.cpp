// SPDX-License-Identifier: MIT
#include "app/track_player.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "app/player_text.h"
#include "platform/clock.h"
#include "platform/text.h"
#include "playback/open_device.h"
#include "playback/open_track.h"
#include "playback/source_chain.h"
#include "tags/tag_set.h"

namespace melorin {
namespace {

constexpr uint32_t kDelayAfterEndMs = 50;
constexpr uint32_t kDelayAfterFailureMs = 100;

std::u16string TakeText(WideChar* text) {
  std::u16string copy = text ? AsChar16(text) : u"";
  CoTaskMemFree(text);
  return copy;
}

std::u16string Field(TagSet& tags, const char16_t* name) {
  WideChar* value = nullptr;
  if (FAILED(tags.GetValue(AsWide(name), &value))) return {};
  return TakeText(value);
}

/// Tells a missing file and a folder from what no reader takes, without opening the sound library first.
std::u16string FileProblem(const std::u16string& path) {
  bool lossy = false;
  GbkFromUtf16(path, &lossy);
  if (lossy) return u"文件名含有无法处理的字符";
  WIN32_FILE_ATTRIBUTE_DATA data{};
  if (!GetFileAttributesExW(AsWide(path.c_str()), GetFileExInfoStandard, &data)) {
    return GetLastError() == ERROR_ACCESS_DENIED ? u"没有读取文件的权限" : u"找不到文件";
  }
  if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) return u"文件夹里没有可以播放的文件";
  if (data.nFileSizeLow == 0 && data.nFileSizeHigh == 0) return u"文件是空的";
  return {};
}

}  // namespace

TrackPlayer::TrackPlayer(const SoundLibrary& library, TrackPlayerListener& listener,
                         PlaybackSettings settings)
    : library_(library), listener_(listener), settings_(settings) {}

TrackPlayer::~TrackPlayer() {
  if (current_) current_->SetNotify(nullptr, 0);
  if (fading_) fading_->SetNotify(nullptr, 0);
}

void TrackPlayer::Post(uint32_t message, uint32_t event, PlaybackStream* stream) {
  PostMessageW(window_, message, event, reinterpret_cast<LPARAM>(stream));
}

uint32_t TrackPlayer::PositionMs() const {
  if (!current_ || state_ == PlayState::kStopped) return 0;
  return std::min(current_->GetPositionMs(), track_.duration_ms);
}

void TrackPlayer::SetState(PlayState state) {
  if (state_ == state) return;
  state_ = state;
  listener_.OnState(state);
}

void TrackPlayer::StartNextTimer(uint32_t delay_ms) {
  next_due_ = SetTimer(window_, kNextTrackTimer, delay_ms, nullptr) != 0;
}

void TrackPlayer::PlayEntry(size_t index) {
  KillTimer(window_, kNextTrackTimer);
  next_due_ = false;
  list_.Select(index);
  Leave();
  const std::u16string path = list_.Path(index);
  std::u16string failure;
  HRESULT result = Open(path, failure);
  if (SUCCEEDED(result)) {
    listener_.OnOpened(track_);
    result = current_->Play();
    if (SUCCEEDED(result)) {
      SetState(PlayState::kPlaying);
      return;
    }
    failure = u"无法开始播放";
    Drop(current_);
  }
  track_ = {};
  SetState(PlayState::kStopped);
  listener_.OnFailed(path, failure, result);
  if (list_.Next()) {
    StartNextTimer(kDelayAfterFailureMs);
  } else {
    listener_.OnFinished();
  }
}

HRESULT TrackPlayer::Open(const std::u16string& path, std::u16string& failure) {
  failure = FileProblem(path);
  if (!failure.empty()) return E_FAIL;
  std::unique_ptr<SourceChain> chain;
  HRESULT result = SourceChain::Open(library_, AsWide(path.c_str()), 0, &chain);
  if (FAILED(result)) {
    failure = DescribeFailure(result, false);
    return result;
  }
  result = OpenForChain(std::move(chain), settings_, window_, SystemClock(), std::addressof(current_));
  if (FAILED(result)) {
    failure = DescribeFailure(result, true);
    return result;
  }
  current_->SetNotify(this, kStreamMessage);
  ReadTrackInfo(path);
  ApplySettings();
  return S_OK;
}

void TrackPlayer::ReadTrackInfo(const std::u16string& path) {
  track_ = {};
  track_.path = path;
  track_.duration_ms = current_->EndTimeMs();
  track_.sample_rate = current_->Format().nSamplesPerSec;
  track_.channels = current_->Format().nChannels;
  track_.bits = current_->Format().wBitsPerSample;
  track_.device = Utf16FromGbk(DeviceKindNameGbk(static_cast<int32_t>(current_->Kind())));
  if (SoundSource* source = current_->Source()) {
    WideChar* name = nullptr;
    if (SUCCEEDED(source->GetCodecName(&name))) track_.codec = TakeText(name);
    track_.codec.resize(std::min(track_.codec.find(u'|'), track_.codec.size()));
    if (FAILED(source->GetBitrate(&track_.bitrate))) track_.bitrate = 0;
    ComPtr<TagSet> tags;
    if (SUCCEEDED(source->QueryInterface(kIidTagSet, tags.ReceiveVoid())) && tags) {
      track_.title = Field(*tags, u"Title");
      track_.artist = Field(*tags, u"Artist");
      track_.album = Field(*tags, u"Album");
    }
  }
  if (track_.title.empty()) track_.title = FileNameOf(path);
}

void TrackPlayer::ApplySettings() {
  // A device that refuses one of these plays all the same.
  current_->SetVolume(settings_.mute ? -1 : settings_.volume);
  current_->SetBalance(settings_.balance);
  const FadeDurations durations = {settings_.fade_duration[0], settings_.fade_duration[1],
                                   settings_.fade_duration[2], settings_.fade_duration[3]};
  current_->SetFade(settings_.sound_fade_mode, &durations);
  current_->SetThreadPriority(settings_.thread_priority);
}

void TrackPlayer::Leave() {
  if (!current_) return;
  const bool fades = (settings_.sound_fade_mode & kFadeStop) != 0 &&
                     current_->Kind() == DeviceKind::kDirectSound &&
                     current_->State() == DeviceState::kRunning && track_.codec != u"CD";
  if (fades) {
    Drop(fading_);
    fading_ = current_;
    const FadeDurations durations = {settings_.fade_duration[0], settings_.fade_duration[1],
                                     settings_.fade_duration[2], settings_.fade_duration[3]};
    fading_->SetFade(kFadeStop, &durations);
  }
  current_->Stop();
  if (fades) {
    current_.Reset();
  } else {
    Drop(current_);
  }
}

void TrackPlayer::Drop(ComPtr<PlaybackStream>& stream) {
  if (!stream) return;
  PlaybackStream* gone = stream.get();
  gone->SetNotify(nullptr, 0);
  stream.Reset();
  // A message of the stream that is gone must not be taken for one of a stream made later at the same
  // address.
  std::vector<MSG> others;
  MSG message;
  while (PeekMessageW(&message, window_, kStreamMessage, kStreamMessage, PM_REMOVE)) {
    if (message.lParam != reinterpret_cast<LPARAM>(gone)) others.push_back(message);
  }
  for (const MSG& other : others)
    PostMessageW(other.hwnd, other.message, other.wParam, other.lParam);
}

void TrackPlayer::Next() {
  if (const auto index = list_.Next()) PlayEntry(*index);
}

void TrackPlayer::Previous() {
  if (const auto index = list_.Previous()) PlayEntry(*index);
}

void TrackPlayer::Play() {
  if (state_ == PlayState::kPlaying) return;
  if (!current_) {
    const auto index = list_.Current() ? list_.Current() : list_.Next();
    if (index) PlayEntry(*index);
    return;
  }
  const HRESULT result = current_->Play();
  if (SUCCEEDED(result)) {
    SetState(PlayState::kPlaying);
  } else {
    listener_.OnFailed(track_.path, u"无法开始播放", result);
  }
}

void TrackPlayer::Pause() {
  if (state_ != PlayState::kPlaying) return;
  const HRESULT result = current_->Pause();
  if (SUCCEEDED(result)) {
    SetState(PlayState::kPaused);
  } else {
    listener_.OnFailed(track_.path, u"无法暂停播放", result);
  }
}

void TrackPlayer::Stop() {
  KillTimer(window_, kNextTrackTimer);
  next_due_ = false;
  if (current_) current_->Stop();
  SetState(PlayState::kStopped);
}

void TrackPlayer::Seek(uint32_t position_ms) {
  if (!current_ || state_ == PlayState::kStopped || track_.duration_ms == 0) return;
  const HRESULT result = current_->Seek(std::min(position_ms, track_.duration_ms - 1));
  // A source that cannot seek goes on where it was; the window shows that.
  if (FAILED(result)) listener_.OnFailed(track_.path, u"无法改变播放位置", result);
}

void TrackPlayer::SetVolume(int32_t volume) {
  settings_.volume = std::clamp(volume, 0, 100);
  settings_.mute = false;
  if (current_) current_->SetVolume(settings_.volume);
}

void TrackPlayer::OnStreamMessage(WPARAM event, LPARAM stream) {
  const auto* sender = reinterpret_cast<const PlaybackStream*>(stream);
  if (fading_ && sender == fading_.get() && sender != current_.get()) {
    Drop(fading_);
    return;
  }
  if (!current_ || sender != current_.get() || event != kEventTrackEnd) return;
  current_->Stop();
  SetState(PlayState::kStopped);
  listener_.OnEnded();
  if (list_.Next()) {
    StartNextTimer(kDelayAfterEndMs);
  } else {
    listener_.OnFinished();
  }
}

void TrackPlayer::OnNextTrackTimer() {
  KillTimer(window_, kNextTrackTimer);
  next_due_ = false;
  Next();
}

void TrackPlayer::Close() {
  KillTimer(window_, kNextTrackTimer);
  Leave();
  SetState(PlayState::kStopped);
  if (!fading_) return;
  const DWORD start = GetTickCount();
  const DWORD limit = settings_.fade_duration[3] + 500;
  while (fading_ && GetTickCount() - start < limit) {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
      if (message.message == WM_QUIT) continue;
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
    Sleep(20);
  }
  Drop(fading_);
}

}  // namespace melorin
