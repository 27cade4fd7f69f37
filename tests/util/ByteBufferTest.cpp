#include "pdf417scan/util/ByteBuffer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace pdf417 {
namespace {

// Random sequences of integers, bytes and runs are written into buffers of
// random sizes and read back in the same order: whatever fitted comes back,
// whatever did not fit failed whole or was cut, and guard bytes after the
// declared end never change.
TEST(ByteBuffer, RandomRoundTripsNeverPassTheEnd) {
    std::mt19937 rng(7);
    for (int trial = 0; trial < 500; ++trial) {
        const unsigned long size = rng() % 40;
        std::vector<unsigned char> storage(size + 8, 0x5C);
        ByteBuffer writer(storage.data(), size);
        struct Op {
            std::uint32_t kind, value;
            std::vector<unsigned char> blob; // the bytes actually written
        };
        std::vector<Op> ops;
        for (int i = 0; i < 12; ++i) {
            Op op{static_cast<std::uint32_t>(rng() % 3), static_cast<std::uint32_t>(rng()), {}};
            const unsigned long room = writer.remain();
            if (op.kind == 0) {
                ASSERT_EQ(writer.write(static_cast<int>(op.value)), room >= 4);
            } else if (op.kind == 1) {
                ASSERT_EQ(writer.write(static_cast<unsigned char>(op.value)), room >= 1);
            } else {
                std::vector<unsigned char> blob(rng() % 10);
                for (auto& b : blob) {
                    b = static_cast<unsigned char>(rng());
                }
                const unsigned long count = rng() % 12;
                const unsigned long n = std::min<unsigned long>({count, blob.size(), room});
                ASSERT_EQ(op.value % 2 ? writer.write(blob, count)
                                       : writer.write(blob.data(),
                                                      std::min<unsigned long>(count, blob.size())),
                          n);
                op.blob.assign(blob.begin(), blob.begin() + n);
            }
            ASSERT_LE(writer.position(), size);
            ops.push_back(op);
        }
        ByteBuffer reader(storage.data(), size);
        for (const Op& op : ops) {
            const unsigned long room = reader.remain();
            if (op.kind == 0) {
                const ByteBuffer::IntResult r = reader.readInt();
                ASSERT_EQ(r.ok, room >= 4);
                ASSERT_EQ(static_cast<std::uint32_t>(r.value), r.ok ? op.value : 0);
            } else if (op.kind == 1) {
                const ByteBuffer::ByteResult r = reader.read();
                ASSERT_EQ(r.ok, room >= 1);
                ASSERT_EQ(r.value, r.ok ? (op.value & 0xFF) : 0);
            } else if (op.value % 3 == 0) {
                std::vector<unsigned char> dst(7, 0);
                ASSERT_EQ(reader.readArray(dst, op.blob.size()), op.blob.size());
                ASSERT_EQ(dst, op.blob);
            } else {
                unsigned char dst[10];
                const unsigned long n = op.blob.size();
                ASSERT_EQ(
                    op.value % 2 ? reader.readArray(dst, n, 10) : reader.readArray(dst, 10, n), n);
                ASSERT_TRUE(std::equal(dst, dst + n, op.blob.begin()));
            }
            ASSERT_LE(reader.position(), size);
        }
        ASSERT_EQ(reader.position(), writer.position());
        ASSERT_EQ(std::vector<unsigned char>(storage.begin() + size, storage.end()),
                  std::vector<unsigned char>(8, 0x5C));
    }
}

// Most significant byte first; what does not fit fails whole or is cut.
TEST(ByteBuffer, BigEndianAndOverruns) {
    std::vector<unsigned char> bytes(8, 0xAA);
    ByteBuffer out(bytes.data(), bytes.size());
    EXPECT_TRUE(out.write(258) && out.write(-2));
    EXPECT_EQ(bytes, (std::vector<unsigned char>{0, 0, 1, 2, 0xFF, 0xFF, 0xFF, 0xFE}));

    unsigned char three[3] = {1, 2, 3};
    ByteBuffer b(three, 3);
    const ByteBuffer::IntResult none = b.readInt();
    EXPECT_TRUE(!none.ok && none.value == 0 && b.position() == 0);
    for (unsigned char expected : {1, 2, 3}) {
        const ByteBuffer::ByteResult r = b.read();
        EXPECT_TRUE(r.ok && r.value == expected);
    }
    const ByteBuffer::ByteResult past = b.read();
    EXPECT_TRUE(!past.ok && past.value == 0);

    ByteBuffer w(three, 3);
    EXPECT_FALSE(w.write(0x01020304));
    EXPECT_TRUE(w.position() == 0 && three[0] == 1);
    EXPECT_EQ(w.write(std::vector<unsigned char>{9, 9, 9, 9, 9}, 2), 2u);
    EXPECT_EQ(w.write(std::vector<unsigned char>{8, 8}, 10), 1u);
    EXPECT_FALSE(w.write(static_cast<unsigned char>(7)));
    EXPECT_EQ(three[2], 8);

    ByteBuffer r(bytes.data(), 8);
    EXPECT_EQ(r.skip(4).address, bytes.data());
    std::vector<unsigned char> dst(20, 1);
    EXPECT_EQ(r.readArray(dst, 10), 4u);
    EXPECT_EQ(dst, (std::vector<unsigned char>{0xFF, 0xFF, 0xFF, 0xFE}));
    ByteBuffer s(bytes.data(), 8);
    s.skip(3);
    const ByteBuffer::Span tail = s.skip(100);
    EXPECT_TRUE(tail.address == bytes.data() + 3 && tail.count == 5 && s.position() == 8);
    EXPECT_EQ(s.skip(std::numeric_limits<unsigned long>::max()).count, 0u);

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
