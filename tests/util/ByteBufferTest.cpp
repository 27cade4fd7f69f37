#include "pdf417scan/util/ByteBuffer.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace pdf417 {
namespace {

using Bytes = std::vector<unsigned char>;

// Integers most significant byte first; one cursor for reads and writes; what
// does not fit fails whole (integers, single bytes) or is cut (runs, skips),
// and nothing is read or written past the end.
TEST(ByteBuffer, BigEndianAndOverruns) {
    Bytes bytes(10, 0xAA);
    ByteBuffer out(bytes.data(), 9);
    EXPECT_TRUE(out.write(258) && out.write(-2));
    EXPECT_TRUE(out.write(static_cast<unsigned char>(7)));
    EXPECT_FALSE(out.write(1));
    EXPECT_EQ(out.write(Bytes{9, 9}, 5), 0u);
    EXPECT_EQ(bytes, (Bytes{0, 0, 1, 2, 0xFF, 0xFF, 0xFF, 0xFE, 7, 0xAA}));

    ByteBuffer in(bytes.data(), 9);
    EXPECT_EQ(in.readInt().value, 258);
    const ByteBuffer::IntResult minusTwo = in.readInt();
    EXPECT_TRUE(minusTwo.ok && minusTwo.value == -2);
    const ByteBuffer::IntResult none = in.readInt(); // fails whole, moves nothing
    EXPECT_TRUE(!none.ok && none.value == 0 && in.position() == 8);
    const ByteBuffer::ByteResult seven = in.read();
    EXPECT_TRUE(seven.ok && seven.value == 7 && in.remain() == 0);
    const ByteBuffer::ByteResult past = in.read();
    EXPECT_TRUE(!past.ok && past.value == 0);

    unsigned char three[3] = {1, 2, 3};
    ByteBuffer w(three, 3);
    EXPECT_FALSE(w.write(0x01020304));
    EXPECT_TRUE(w.position() == 0 && three[0] == 1);
    EXPECT_EQ(w.write(Bytes{9, 9, 9, 9, 9}, 2), 2u);
    EXPECT_EQ(w.write(Bytes{8, 8}, 10), 1u);
    EXPECT_FALSE(w.write(static_cast<unsigned char>(7)));
    EXPECT_EQ(Bytes(three, three + 3), (Bytes{9, 9, 8}));

    // Runs take the least of the destination's room, the count and what is
    // left, in either order.
    ByteBuffer r(bytes.data(), 9);
    unsigned char run[4] = {};
    EXPECT_EQ(r.readArray(run, 4, 2), 2u);
    EXPECT_EQ(r.readArray(run + 2, 1, 3), 1u);
    EXPECT_EQ(Bytes(run, run + 4), (Bytes{0, 0, 1, 0}));
    EXPECT_EQ(r.skip(2).address, bytes.data() + 3);
    Bytes dst(20, 1);
    EXPECT_EQ(r.readArray(dst, 10), 4u); // cut to what is left
    EXPECT_EQ(dst, (Bytes{0xFF, 0xFF, 0xFE, 7}));
    ByteBuffer s(bytes.data(), 8);
    s.skip(3);
    const ByteBuffer::Span tail = s.skip(100);
    EXPECT_TRUE(tail.address == bytes.data() + 3 && tail.count == 5 && s.position() == 8);
    EXPECT_EQ(s.skip(std::numeric_limits<unsigned long>::max()).count, 0u);
    EXPECT_EQ(bytes[9], 0xAA);

    // A null array holds nothing, and null sources or destinations move nothing.
    ByteBuffer empty(nullptr, 100);
    EXPECT_TRUE(empty.remain() == 0 && !empty.write(1) && empty.skip(5).count == 0);
    ByteBuffer n(bytes.data(), 8);
    EXPECT_EQ(n.write(static_cast<const unsigned char*>(nullptr), 3), 0u);
    EXPECT_EQ(n.readArray(static_cast<unsigned char*>(nullptr), 3, 3), 0u);
    EXPECT_EQ(n.position(), 0u);
}

} // namespace
} // namespace pdf417
