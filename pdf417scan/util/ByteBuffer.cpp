#include "pdf417scan/util/ByteBuffer.h"

#include <algorithm>
#include <cstring>

namespace pdf417 {

namespace {

// Two's complement reading of four big-endian bytes, without relying on the
// implementation's unsigned-to-signed conversion.
std::int32_t toSigned(std::uint32_t u) {
    return u <= 0x7FFFFFFFu ? static_cast<std::int32_t>(u) : -static_cast<std::int32_t>(~u) - 1;
}

} // namespace

ByteBuffer::ByteBuffer(unsigned char* data, unsigned long size)
    : size_(data != nullptr ? size : 0), data_(data) {}

ByteBuffer::IntResult ByteBuffer::readInt() {
    if (remain() < 4) {
        return {0, false};
    }
    const unsigned char* p = data_ + position_;
    const std::uint32_t u = (std::uint32_t{p[0]} << 24) | (std::uint32_t{p[1]} << 16) |
                            (std::uint32_t{p[2]} << 8) | std::uint32_t{p[3]};
    position_ += 4;
    return {toSigned(u), true};
}

ByteBuffer::ByteResult ByteBuffer::read() {
    if (remain() < 1) {
        return {0, false};
    }
    return {data_[position_++], true};
}

unsigned long ByteBuffer::readArray(unsigned char* dst, unsigned long a, unsigned long b) {
    if (dst == nullptr) {
        return 0;
    }
    const unsigned long n = std::min({a, b, remain()});
    if (n != 0) {
        std::memcpy(dst, data_ + position_, n);
        position_ += n;
    }
    return n;
}

unsigned long ByteBuffer::readArray(std::vector<unsigned char>& dst, unsigned long count) {
    const unsigned long n = std::min(count, remain());
    dst.resize(n);
    return readArray(dst.data(), n, n);
}

bool ByteBuffer::write(int value) {
    if (remain() < 4) {
        return false;
    }
    const auto u = static_cast<std::uint32_t>(value);
    unsigned char* p = data_ + position_;
    p[0] = static_cast<unsigned char>(u >> 24);
    p[1] = static_cast<unsigned char>(u >> 16);
    p[2] = static_cast<unsigned char>(u >> 8);
    p[3] = static_cast<unsigned char>(u);
    position_ += 4;
    return true;
}

bool ByteBuffer::write(unsigned char value) {
    if (remain() < 1) {
        return false;
    }
    data_[position_++] = value;
    return true;
}

unsigned long ByteBuffer::write(unsigned char const* src, unsigned long count) {
    if (src == nullptr) {
        return 0;
    }
    const unsigned long n = std::min(count, remain());
    if (n != 0) {
        std::memcpy(data_ + position_, src, n);
        position_ += n;
    }
    return n;
}

unsigned long ByteBuffer::write(std::vector<unsigned char> const& src, unsigned long count) {
    const unsigned long n = std::min<unsigned long>(count, src.size());
    return write(src.data(), n);
}

ByteBuffer::Span ByteBuffer::skip(unsigned long count) {
    const unsigned long n = std::min(count, remain());
    Span span{data_ + position_, n};
    position_ += n;
    return span;
}

} // namespace pdf417
