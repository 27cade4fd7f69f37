#pragma once

#include <cstddef>
#include <cstdint>

namespace pdf417 {
namespace fuzz {

// Reads a fuzzer's byte string as a stream of little-endian integers. Past the
// end every read yields 0, so a harness never has to check lengths and short
// inputs still mean something.
class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    std::uint8_t u8() { return pos_ < size_ ? data_[pos_++] : 0; }
    std::uint16_t u16() {
        const std::uint16_t low = u8();
        return static_cast<std::uint16_t>(low | u8() << 8);
    }
    std::uint32_t u32() {
        const std::uint32_t low = u16();
        return low | static_cast<std::uint32_t>(u16()) << 16;
    }
    std::uint64_t u64() {
        const std::uint64_t low = u32();
        return low | static_cast<std::uint64_t>(u32()) << 32;
    }

    bool empty() const { return pos_ >= size_; }
    std::size_t remaining() const { return size_ - pos_; }
    // The unread bytes (null when none are left); take() marks count of them
    // read.
    const std::uint8_t* rest() const { return pos_ < size_ ? data_ + pos_ : nullptr; }
    void take(std::size_t count) { pos_ += count < remaining() ? count : remaining(); }

private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t pos_ = 0;
};

} // namespace fuzz
} // namespace pdf417
