// audio/KaAudioBufferList.h — making, measuring, copying and clearing lists of 32-bit samples.
#pragma once
#include "audio/AudioBufferList.h"
#include "base/Realtime.h"

#include <memory>

/// A list of zeros: one buffer of all channels if `interleaved`, else one buffer a channel. Null if `channels`
/// or `frames` is 0, if a buffer would pass 2^32 bytes, or without memory. Goes back through
/// `KaAudioBufferListDispose`.
AudioBufferList* KaAudioBufferListNew(unsigned channels, unsigned frames, bool interleaved);
/// A null list is ignored.
void KaAudioBufferListDispose(AudioBufferList* list);

struct KaAudioBufferListDisposer {
    void operator()(AudioBufferList* list) const { KaAudioBufferListDispose(list); }
};
/// An owned list: `KaAudioBufferListPtr list(KaAudioBufferListNew(2, 512, true))`.
using KaAudioBufferListPtr = std::unique_ptr<AudioBufferList, KaAudioBufferListDisposer>;

// Any thread, also the I/O thread. The list's own fields are trusted; the first buffer's frames stand for all.
/// Channels of all buffers together.
unsigned KaAudioBufferListChannelCount(const AudioBufferList& list) noexcept KA_REALTIME;
/// Frames of the first buffer; 0 without one.
unsigned KaAudioBufferListFrameCount(const AudioBufferList& list) noexcept KA_REALTIME;
/// Copies up to `count` frames and returns how many. Between equal layouts buffer by buffer, else channel by
/// channel in order; destination channels without a source become silent, source channels too many are dropped.
unsigned KaAudioBufferListCopy(const AudioBufferList& src, unsigned srcOffset, AudioBufferList& dst,
                               unsigned dstOffset, unsigned count) noexcept KA_REALTIME;
/// Silences up to `count` frames and returns how many.
unsigned KaAudioBufferListClear(AudioBufferList& list, unsigned offset, unsigned count) noexcept KA_REALTIME;
