#include "pdf417scan/imaging/RowUtils.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace pdf417 {
namespace RowUtils {

namespace {

#if defined(__BYTE_ORDER__) && defined(__ORDER_LITTLE_ENDIAN__) &&                                 \
    __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
constexpr bool kWordScan = true;
#else
constexpr bool kWordScan = false; // the word scan needs sample i in byte i of a load
#endif

int lowestByte(std::uint64_t x) {
#if defined(__GNUC__) || defined(__clang__)
    return __builtin_ctzll(x) >> 3;
#else
    int byte = 0;
    while ((x & 0xffu) == 0) {
        x >>= 8;
        ++byte;
    }
    return byte;
#endif
}

} // namespace

void squeeze(const std::vector<unsigned char>& row, std::vector<short>& runs,
             unsigned char threshold) {
    runs.resize(0);
    if (row.empty()) {
        return;
    }
    // n samples make at most n runs. Writing them through a pointer into a
    // vector already that long spares push_back's checks on every run.
    runs.resize(row.size());
    short* out = runs.data();
    const unsigned char* const samples = row.data();
    const std::size_t size = row.size();
    // 0 while in a light run, all ones while in a dark one.
    int sign = samples[0] < threshold ? -1 : 0;
    // The first run counts from one sample before the row (the index wraps
    // round), so it comes out one sample long; kept on purpose, see the
    // header.
    std::size_t start = std::numeric_limits<std::size_t>::max();
    const auto closeRun = [&](std::size_t end) {
        const std::size_t length = end - start;
        const int magnitude = length < 32767u ? static_cast<int>(length) : 32767;
        *out++ = static_cast<short>((magnitude ^ sign) - sign); // negated when dark
        start = end;
        sign = ~sign;
    };
    std::size_t i = 1;
    if (kWordScan) {
        // Sixteen samples at a time: mark the dark ones with bit 7 of their
        // byte; a colour change at sample j is a byte whose mark differs from
        // the one before it.
        for (; i + 16 <= size; i += 16) {
            unsigned char marks[16];
            std::memcpy(marks, samples + i, sizeof marks);
            for (unsigned char& v : marks) {
                v = v < threshold ? 0x80 : 0;
            }
            std::uint64_t low;
            std::uint64_t high;
            std::memcpy(&low, marks, sizeof low);
            std::memcpy(&high, marks + 8, sizeof high);
            const std::uint64_t before = static_cast<std::uint64_t>(sign) & 0x80u;
            const std::uint64_t changes[2] = {low ^ ((low << 8) | before),
                                              high ^ ((high << 8) | (low >> 56))};
            if ((changes[0] | changes[1]) == 0) {
                continue; // the common case: the run goes on
            }
            for (std::size_t half = 0; half < 2; ++half) {
                for (std::uint64_t c = changes[half]; c != 0; c &= c - 1) {
                    closeRun(i + 8 * half + static_cast<std::size_t>(lowestByte(c)));
                }
            }
        }
    }
    for (; i < size; ++i) {
        if ((samples[i] < threshold) != (sign != 0)) {
            closeRun(i);
        }
    }
    closeRun(size);
    runs.resize(static_cast<std::size_t>(out - runs.data()));
}

void filter(std::vector<short>& runs, unsigned long maxLength) {
    if (runs.size() < 2 || maxLength == 0) {
        return;
    }
    for (std::size_t i = 1; i < runs.size(); ++i) {
        const unsigned long length = static_cast<unsigned long>(std::abs(runs[i]));
        const bool disagrees =
            (runs[i - 1] < 0 && runs[i] >= 1) || (runs[i - 1] >= 0 && runs[i] < 0);
        if (length <= maxLength && disagrees) {
            // -32768 has no positive counterpart in 16 bits; it would stay
            // dark. squeeze never makes it, but callers may.
            runs[i] = runs[i] == -32768 ? short{32767} : static_cast<short>(-runs[i]);
        }
    }
    std::size_t j = 0;
    for (std::size_t i = 1; i < runs.size(); ++i) {
        if ((runs[j] < 0) == (runs[i] < 0)) {
            // Same colour: merge, saturating like squeeze does.
            const int merged = runs[j] + runs[i];
            runs[j] =
                static_cast<short>(merged > 32767 ? 32767 : (merged < -32767 ? -32767 : merged));
        } else {
            runs[++j] = runs[i];
        }
    }
    runs.resize(j + 1);
}

namespace {

// The count runs in size_t so that it cannot wrap round on a row longer than
// unsigned int can count; such a count is reported as the largest value.
unsigned int clampCount(std::size_t count) {
    return count > std::numeric_limits<unsigned int>::max()
               ? std::numeric_limits<unsigned int>::max()
               : static_cast<unsigned int>(count);
}

} // namespace

unsigned int findWhite(const std::vector<unsigned char>& row, unsigned char threshold) {
    std::size_t count = 0;
    while (count < row.size() && row[count] <= threshold) {
        ++count;
    }
    return clampCount(count);
}

unsigned int findBlack(const std::vector<unsigned char>& row, unsigned char threshold) {
    std::size_t count = 0;
    while (count < row.size() && row[count] >= threshold) {
        ++count;
    }
    return clampCount(count);
}

std::uint32_t sumSamples(const unsigned char* samples, std::size_t count) {
    // Sixteen partial sums over fixed chunks, which the compiler vectorises;
    // an integer sum does not depend on the order.
    std::uint32_t parts[16] = {};
    std::size_t i = 0;
    for (; i + 16 <= count; i += 16) {
        unsigned char chunk[16];
        std::memcpy(chunk, samples + i, sizeof chunk);
        for (std::size_t j = 0; j < 16; ++j) {
            parts[j] += chunk[j];
        }
    }
    std::uint32_t sum = 0;
    for (const std::uint32_t part : parts) {
        sum += part;
    }
    for (; i < count; ++i) {
        sum += samples[i];
    }
    return sum;
}

float calculateMean(const std::vector<unsigned char>& row) {
    if (row.empty()) {
        return 0.0f;
    }
    return static_cast<float>(sumSamples(row.data(), row.size())) / static_cast<float>(row.size());
}

float calculateDeviation(const std::vector<unsigned char>& row, float mean) {
    if (row.empty()) {
        return 0.0f;
    }
    float accumulator = 0.0f;
    for (const unsigned char sample : row) {
        const float d = mean - static_cast<float>(sample);
        accumulator = d * d + accumulator;
    }
    return std::sqrt(accumulator / static_cast<float>(row.size()));
}

float calculateStandardDeviation(const std::vector<unsigned char>& row) {
    return calculateDeviation(row, calculateMean(row));
}

namespace {

std::uint64_t byteSwapped(std::uint64_t x) {
#if defined(__GNUC__) || defined(__clang__)
    return __builtin_bswap64(x);
#else
    x = (x & 0x00000000ffffffffull) << 32 | x >> 32;
    x = (x & 0x0000ffff0000ffffull) << 16 | (x >> 16 & 0x0000ffff0000ffffull);
    return (x & 0x00ff00ff00ff00ffull) << 8 | (x >> 8 & 0x00ff00ff00ff00ffull);
#endif
}

} // namespace

template <>
void reverse<unsigned char>(std::vector<unsigned char>& v) {
    if (v.empty()) {
        return;
    }
    unsigned char* const p = v.data();
    std::size_t i = 0;
    std::size_t j = v.size(); // one past the back element
    // Swap eight from the front with eight from the back, each reversed,
    // while the two words do not overlap.
    for (; i + 16 <= j; i += 8, j -= 8) {
        std::uint64_t front;
        std::uint64_t back;
        std::memcpy(&front, p + i, sizeof front);
        std::memcpy(&back, p + j - 8, sizeof back);
        front = byteSwapped(front);
        back = byteSwapped(back);
        std::memcpy(p + i, &back, sizeof back);
        std::memcpy(p + j - 8, &front, sizeof front);
    }
    for (--j; i < j; ++i, --j) {
        std::swap(p[i], p[j]);
    }
}

} // namespace RowUtils
} // namespace pdf417
