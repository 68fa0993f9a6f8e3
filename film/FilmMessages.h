#pragma once

#include <cstdint>

namespace korvane {

/// What the two sides of a film's process say to each other; see FilmJob for what each is answered with.
enum class FilmMessage : std::uint8_t {
    // To the process.
    /// threads
    Analyze,
    /// offset ms
    PictureAt,
    /// width, height: of the bound, 0 for none
    FirstFrame,
    /// 1 for sound as well
    Open,
    /// position ms
    Seek,
    /// moment ms
    Approach,
    Step,
    StepBack,
    /// Have the picture written into the room.
    Paint,
    /// In answer to Read: a text, shorter than asked for, empty at the end; 1 when reading has failed for good
    Bytes,
    /// In answer to AskSize: bytes, -1 when not known
    Size,
    /// In answer to AskRoom: bytes that the room has now
    Room,

    // To the caller.
    /// position, count
    Read,
    AskSize,
    /// bytes
    AskRoom,
    /// parts of a million
    Progress,
    /// offset ms, JPEG
    Motion,
    /// position ms, samples
    Sound,
    /// The answer to an order.
    Done,
    /// The order has failed: 1 for want of memory, why in words
    Failed,
    /// The process has ended: by which signal, 0 for none, or a constant of HelperOrder.h
    Ended,
};

/// What a step through a film has brought.
enum class FilmStep {
    /// The next picture is there.
    Picture,
    /// Some way has been made.
    Nothing,
    End,
    /// The bytes come no more.
    Failed,
};

/// Sound between the two is of two channels of 16 bits at this rate.
inline constexpr int filmSoundRate = 48'000;
inline constexpr int filmSoundChannels = 2;

}  // namespace korvane
