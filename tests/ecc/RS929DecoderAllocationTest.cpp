// Counts heap allocations by replacing the global operator new of this test
// program. Counting is switched on only around the calls under test, so
// nothing else in the program is affected.
#include "pdf417scan/ecc/RS929Decoder.h"
#include "pdf417scan/ecc/RS929Encoder.h"
#include "tests/support/RandomCodewords.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <random>
#include <vector>

namespace {

std::atomic<bool> counting{false};
std::atomic<long> allocations{0};

} // namespace

void* operator new(std::size_t size) {
    if (counting.load(std::memory_order_relaxed)) {
        allocations.fetch_add(1, std::memory_order_relaxed);
    }
    if (void* p = std::malloc(size == 0 ? 1 : size)) {
        return p;
    }
    throw std::bad_alloc();
}

// Kept out of line: inlined, GCC sees free() on memory from a new-expression
// and warns, not knowing that new is malloc here.
__attribute__((noinline)) void operator delete(void* p) noexcept {
    std::free(p);
}
__attribute__((noinline)) void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}

namespace pdf417 {
namespace {

// After a first call has sized the working vectors, decoding another word of
// the same level and length touches no heap, whatever the damage.
TEST(RS929DecoderAllocation, NoAllocationAfterTheFirstCall) {
    std::mt19937 rng(6);
    RS929Decoder decoder;
    for (unsigned level : {2u, 5u, 8u}) {
        const std::size_t k = static_cast<std::size_t>(_ecs[level]);
        const std::vector<G929Value> original = test::randomCodeword(rng, level, 928);
        std::vector<G929Value> word;
        std::vector<unsigned long> positions;
        word.reserve(928);
        positions.reserve(928);
        for (int call = 0; call < 4; ++call) {
            word = original;
            positions.clear();
            // Different damage on each call, as much as the decoder accepts.
            const std::size_t erasures = static_cast<std::size_t>(call);
            std::size_t errors = (k - 2 - erasures) / 2;
            if (errors < 4) {
                errors = (k - 3 - erasures) / 2;
            }
            for (std::size_t i = 0; i < errors + erasures; ++i) {
                const std::size_t p = (7 * i + static_cast<std::size_t>(call)) % 928;
                word[927 - p] = test::gf((word[927 - p].value() + 1) % 929);
                if (i >= errors) {
                    positions.push_back(p);
                }
            }
            allocations = 0;
            counting = true;
            const bool ok = decoder.decode(word, positions, level);
            counting = false;
            ASSERT_TRUE(ok) << "level " << level << " call " << call;
            ASSERT_EQ(word, original);
            if (call > 0) {
                EXPECT_EQ(allocations.load(), 0) << "level " << level << " call " << call;
            }
        }
    }
}

} // namespace
} // namespace pdf417
