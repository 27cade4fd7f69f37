#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace pdf417 {

// The Macro PDF417 control block of one symbol of a multi-symbol message: the
// symbol's place in the sequence, the sequence's file ID and the optional
// fields the encoder chose to carry.
struct MacroPdf417 {
    int segmentIndex = -1;    // 0..99998; -1 when the block was too short to hold it
    std::string fileId;       // every file ID codeword as three decimal digits, e.g. "001002"
    bool lastSegment = false; // the block ended with the terminator (922)

    std::optional<std::string> fileName; // UTF-8
    std::optional<std::int64_t> segmentCount;
    std::optional<std::int64_t> timeStamp; // seconds since 1970-01-01 00:00:00 UTC
    std::optional<std::string> sender;     // UTF-8
    std::optional<std::string> addressee;  // UTF-8
    std::optional<std::int64_t> fileSize;  // bytes
    std::optional<std::int64_t> checksum;  // CRC-16 of the whole file
};

} // namespace pdf417
