#include "pdf417scan/util/ByteBuffer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace pdf417 {
namespace {

TEST(ByteBuffer, IntegersAreBigEndian) {
    std::vector<unsigned char> bytes(8, 0xAA);
    ByteBuffer out(bytes.data(), bytes.size());
    EXPECT_TRUE(out.write(258));
    EXPECT_TRUE(out.write(-2));
    EXPECT_EQ(bytes, (std::vector<unsigned char>{0, 0, 1, 2, 0xFF, 0xFF, 0xFF, 0xFE}));

    ByteBuffer in(bytes.data(), bytes.size());
    EXPECT_EQ(in.readInt().value, 258);
    EXPECT_EQ(in.readInt().value, -2);
}

// Random sequences of whole values and runs, written and read back through
// buffers of random sizes, checked against a plain model of the cursor.
TEST(ByteBuffer, RandomRoundTripsNeverPassTheEnd) {
    std::mt19937 rng(7);
    for (int trial = 0; trial < 500; ++trial) {
        const unsigned long size = rng() % 40;
        // Guard bytes after the declared end must never change.
        std::vector<unsigned char> storage(size + 8, 0x5C);
        ByteBuffer writer(storage.data(), size);
        std::vector<unsigned char> expected(size, 0x5C);
        unsigned long pos = 0;
        for (int op = 0; op < 12; ++op) {
            const unsigned long room = size - pos;
            switch (rng() % 3) {
            case 0: {
                const auto v = static_cast<std::int32_t>(rng());
                ASSERT_EQ(writer.write(int{v}), room >= 4);
                if (room >= 4) {
                    const auto u = static_cast<std::uint32_t>(v);
                    for (int i = 0; i < 4; ++i) {
                        expected[pos++] = static_cast<unsigned char>(u >> (24 - 8 * i));
                    }
                }
                break;
            }
            case 1: {
                const auto b = static_cast<unsigned char>(rng());
                ASSERT_EQ(writer.write(b), room >= 1);
                if (room >= 1) {
                    expected[pos++] = b;
                }
                break;
            }
            default: {
                std::vector<unsigned char> src(rng() % 10);
                for (auto& b : src) {
                    b = static_cast<unsigned char>(rng());
                }
                const unsigned long count = rng() % 12;
                const unsigned long available = std::min<unsigned long>(count, src.size());
                const unsigned long n = std::min(available, room);
                ASSERT_EQ(
                    rng() % 2 ? writer.write(src, count) : writer.write(src.data(), available), n);
                std::copy(src.begin(), src.begin() + n, expected.begin() + pos);
                pos += n;
            }
            }
            ASSERT_EQ(writer.position(), pos);
            ASSERT_EQ(writer.remain(), size - pos);
        }
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), storage.begin()));
        ASSERT_EQ(std::vector<unsigned char>(storage.begin() + size, storage.end()),
                  std::vector<unsigned char>(8, 0x5C));

        // Read everything back with random operations.
        ByteBuffer reader(storage.data(), size);
        pos = 0;
        while (reader.remain() > 0) {
            const unsigned long room = size - pos;
            switch (rng() % 4) {
            case 0: {
                const ByteBuffer::IntResult r = reader.readInt();
                ASSERT_EQ(r.ok, room >= 4);
                if (r.ok) {
                    const std::uint32_t u = (std::uint32_t{expected[pos]} << 24) |
                                            (std::uint32_t{expected[pos + 1]} << 16) |
                                            (std::uint32_t{expected[pos + 2]} << 8) |
                                            expected[pos + 3];
                    ASSERT_EQ(static_cast<std::uint32_t>(r.value), u);
                    pos += 4;
                } else {
                    ASSERT_EQ(r.value, 0);
                }
                break;
            }
            case 1: {
                const ByteBuffer::ByteResult r = reader.read();
                ASSERT_TRUE(r.ok);
                ASSERT_EQ(r.value, expected[pos++]);
                break;
            }
            case 2: {
                std::vector<unsigned char> dst(rng() % 5, 0x77);
                const unsigned long n = reader.readArray(dst, rng() % 7);
                ASSERT_EQ(dst.size(), n);
                ASSERT_TRUE(std::equal(dst.begin(), dst.end(), expected.begin() + pos));
                pos += n;
                break;
            }
            default: {
                unsigned char dst[6];
                const unsigned long roomInDst = rng() % 7;
                const unsigned long wanted = rng() % 7;
                const unsigned long n = reader.readArray(dst, roomInDst, wanted);
                ASSERT_EQ(n, std::min({roomInDst, wanted, room}));
                ASSERT_TRUE(std::equal(dst, dst + n, expected.begin() + pos));
                pos += n;
            }
            }
            ASSERT_EQ(reader.position(), pos);
        }
        ASSERT_FALSE(reader.read().ok);
        ASSERT_EQ(reader.position(), size);
    }
}

TEST(ByteBuffer, OverrunsFailWholeOrAreCut) {
    unsigned char three[3] = {1, 2, 3};
    ByteBuffer b(three, 3);
    const ByteBuffer::IntResult none = b.readInt();
    EXPECT_FALSE(none.ok);
    EXPECT_EQ(none.value, 0);
    EXPECT_EQ(b.position(), 0u);
    for (unsigned char expected : {1, 2, 3}) {
        const ByteBuffer::ByteResult r = b.read();
        EXPECT_TRUE(r.ok);
        EXPECT_EQ(r.value, expected);
    }
    const ByteBuffer::ByteResult past = b.read();
    EXPECT_FALSE(past.ok);
    EXPECT_EQ(past.value, 0);

    ByteBuffer w(three, 3);
    EXPECT_FALSE(w.write(0x01020304));
    EXPECT_EQ(w.position(), 0u);
    EXPECT_EQ(three[0], 1);
    EXPECT_EQ(w.write(std::vector<unsigned char>{9, 9, 9, 9, 9}, 2), 2u);
    EXPECT_EQ(w.write(std::vector<unsigned char>{8, 8}, 10), 1u);
    EXPECT_FALSE(w.write(static_cast<unsigned char>(7)));
    EXPECT_EQ(three[2], 8);

    unsigned char eight[8] = {};
    ByteBuffer r(eight, 8);
    r.skip(4);
    std::vector<unsigned char> dst(20, 1);
    EXPECT_EQ(r.readArray(dst, 10), 4u);
    EXPECT_EQ(dst.size(), 4u);

    ByteBuffer s(eight, 8);
    EXPECT_EQ(s.skip(3).address, eight);
    const ByteBuffer::Span tail = s.skip(100);
    EXPECT_EQ(tail.address, eight + 3);
    EXPECT_EQ(tail.count, 5u);
    EXPECT_EQ(s.position(), 8u);
    EXPECT_EQ(s.skip(std::numeric_limits<unsigned long>::max()).count, 0u);

    // A null array holds nothing, and null sources or destinations move nothing.
    ByteBuffer empty(nullptr, 100);
    EXPECT_EQ(empty.remain(), 0u);
    EXPECT_FALSE(empty.write(1));
    EXPECT_EQ(empty.skip(5).count, 0u);
    ByteBuffer n(eight, 8);
    EXPECT_EQ(n.write(static_cast<const unsigned char*>(nullptr), 3), 0u);
    EXPECT_EQ(n.readArray(static_cast<unsigned char*>(nullptr), 3, 3), 0u);
    EXPECT_EQ(n.position(), 0u);
}

} // namespace
} // namespace pdf417
