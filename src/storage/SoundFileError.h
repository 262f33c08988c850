// storage/SoundFileError.h — how an operation on a sound file ended.
#pragma once

enum class SoundFileError {
    none,
    cannotCreate,
    cannotOpen,
    readFailed,        ///< the system could not read
    notAiff,           ///< no FORM of type AIFF
    noFormat,          ///< no whole COMM chunk
    unsupportedFormat, ///< not 16 bits a sample, no channels, or no usable rate
    noSound,           ///< no SSND chunk
    foreignLayout,     ///< an AIFF file, but not placed as ours are: not to be changed
    writeFailed,       ///< the system could not write
    tooLarge,          ///< the file would pass `SoundFile::largestFile`
};
