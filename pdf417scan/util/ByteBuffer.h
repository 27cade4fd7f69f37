#pragma once

#include <cstdint>
#include <vector>

namespace pdf417 {

// A cursor over a caller's fixed-size byte array for big-endian integers,
// single bytes and runs of bytes. Reads and writes share the cursor. Nothing
// ever grows the array or touches a byte past its end: whole-value operations
// that do not fit fail without moving, run operations are cut to what remains
// and report how much they moved. The array is neither copied nor owned.
class ByteBuffer {
public:
    // readInt's result: the value, meaningful only when ok (0 otherwise).
    struct IntResult {
        std::int32_t value;
        bool ok;
    };
    // read's result: the byte, meaningful only when ok (0 otherwise).
    struct ByteResult {
        std::uint8_t value;
        bool ok;
    };
    // skip's result: where the skipped bytes start and how many were skipped.
    // The address is the current end of the array when count is 0.
    struct Span {
        unsigned char* address;
        unsigned long count;
    };

    // A null array is taken as an empty one, whatever size is given.
    ByteBuffer(unsigned char* data, unsigned long size);

    unsigned long remain() const { return static_cast<unsigned long>(size_ - position_); }
    unsigned long position() const { return static_cast<unsigned long>(position_); }
    unsigned long size() const { return static_cast<unsigned long>(size_); }

    // Four bytes, most significant first; fails without moving when fewer remain.
    IntResult readInt();
    ByteResult read();
    // Copies min(a, b, remain()) bytes to dst: one limit is the room in dst,
    // the other the wanted count, in either order. Returns the count moved.
    unsigned long readArray(unsigned char* dst, unsigned long a, unsigned long b);
    // Resizes dst to min(count, remain()) and fills it.
    unsigned long readArray(std::vector<unsigned char>& dst, unsigned long count);

    // Stores four bytes, most significant first; false without writing when
    // fewer remain. Beware that a plain char argument selects this overload.
    bool write(int value);
    bool write(unsigned char value);
    // Copies min(count, remain()) bytes from src; returns the count moved.
    unsigned long write(unsigned char const* src, unsigned long count);
    // Copies min(count, src.size(), remain()) bytes from the front of src.
    unsigned long write(std::vector<unsigned char> const& src, unsigned long count);

    // Moves the cursor by min(count, remain()).
    Span skip(unsigned long count);

private:
    std::uint64_t position_ = 0; // invariant: position_ <= size_
    std::uint64_t size_;
    unsigned char* data_;
};

} // namespace pdf417
