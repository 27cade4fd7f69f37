// One PDF417Reader and one FrameReader fed the same sequence of frames, so
// that their votes and failure counts carry over from frame to frame as they
// do on a camera feed.
//
// Input: width and height (16 bits each), the number of frames (1 + byte %
// 32; the FrameReader gets the first eight), the base frame's pixels, then per frame one byte (bit
// 7: give the PDF417Reader the frame turned 90 degrees; bit 6: reset the FrameReader first; bits
// 0-2: number of edits) and its edits, each a kind, x, y, a size (low byte width, high byte height)
// and a value, applied to a fresh copy of the base frame: fill, invert or brighten a rectangle.
#include "fuzz/FuzzCheck.h"
#include "fuzz/FuzzInput.h"
#include "pdf417scan/api/FrameReader.h"
#include "pdf417scan/imaging/Image.h"
#include "pdf417scan/imaging/ImageRotate90.h"
#include "pdf417scan/reader/PDF417Reader.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

using pdf417::fuzz::check;

constexpr unsigned FRAME_READER_FRAMES = 8;

namespace {

void applyEdit(pdf417::fuzz::FuzzInput& in, std::vector<std::uint8_t>& pixels, unsigned width,
               unsigned height) {
    const unsigned kind = in.u8() % 3;
    const unsigned x0 = in.u16();
    const unsigned y0 = in.u16();
    const unsigned size = in.u16();
    const std::uint8_t value = in.u8();
    if (width == 0 || height == 0) {
        return;
    }
    const unsigned left = x0 % width;
    const unsigned top = y0 % height;
    const unsigned right = std::min(width, left + 1 + (size & 0xFFu));
    const unsigned bottom = std::min(height, top + 1 + (size >> 8));
    for (unsigned y = top; y < bottom; ++y) {
        std::uint8_t* row = pixels.data() + static_cast<std::size_t>(y) * width;
        for (unsigned x = left; x < right; ++x) {
            switch (kind) {
            case 0:
                row[x] = value;
                break;
            case 1:
                row[x] = static_cast<std::uint8_t>(255 - row[x]);
                break;
            default:
                row[x] = static_cast<std::uint8_t>(row[x] + value);
                break;
            }
        }
    }
}

// No data cell of the table's geometry holds a vote.
bool votesCleared(const pdf417::MultiTable& table) {
    for (std::uint64_t row = 0; row < table.height(); ++row) {
        for (std::uint64_t column = 1; column + 1 < table.width(); ++column) {
            if (table.get(column, row).codeWord.isValid()) {
                return false;
            }
        }
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    pdf417::fuzz::FuzzInput in(data, size);
    unsigned width = in.u16();
    unsigned height = in.u16();
    const unsigned frames = 1 + in.u8() % 32u;
    const std::uint8_t* basePixels = in.rest();
    pdf417::fuzz::fitFrame(width, height, in.remaining());
    const std::size_t pixelCount = static_cast<std::size_t>(width) * height;
    const std::vector<std::uint8_t> base =
        pixelCount == 0 ? std::vector<std::uint8_t>()
                        : std::vector<std::uint8_t>(basePixels, basePixels + pixelCount);
    in.take(pixelCount);

    auto reader = std::make_unique<pdf417::PDF417Reader>();
    pdf417::FrameReader frameReader;
    std::vector<std::uint8_t> pixels;
    std::vector<unsigned char> out;
    for (unsigned frame = 0; frame < frames; ++frame) {
        pixels = base;
        const std::uint8_t header = in.u8();
        for (unsigned edit = header & 7u; edit > 0; --edit) {
            applyEdit(in, pixels, width, height);
        }
        pdf417::Image image(pixels.data(), width, height);
        const std::uint32_t before = reader->failureCount();
        out.assign(3, 0xAA); // must be cleared whatever happens
        int result;
        if (header & 0x80u) {
            pdf417::ImageRotate90 rotated(image);
            result = reader->decode(rotated, out);
        } else {
            result = reader->decode(image, out);
        }
        const std::uint32_t after = reader->failureCount();

        check(result >= 0 && result <= 4, "result code out of range");
        check(result == 0 || out.empty(), "a failed reading left bytes");
        check(after <= 20, "more than twenty failures counted");
        // The count after the reset that twenty failures bring before sampling.
        const std::uint32_t reset = before >= 20 ? 0 : before;
        switch (result) {
        case 0:
            check(after == 0, "a success kept the failure count");
            check(votesCleared(reader->votes()), "a success kept votes");
            break;
        case 1:
        case 2:
            check(after == before, "a localisation failure changed the count");
            break;
        case 3: // a failed sampling is not counted, a failed extraction is
            check(after == reset || after == reset + 1, "an extraction failure miscounted");
            break;
        default:
            check(after == reset + 1, "a correction failure was not counted");
            break;
        }

        // The reading API on the same frame, with its own pooled votes; a
        // header bit starts it afresh now and then. Eight frames show its
        // pooling; more would only slow the fuzzer, its precise chain being
        // far costlier per frame than the reader's.
        if (frame < FRAME_READER_FRAMES) {
            if (header & 0x40u) {
                frameReader.reset();
            }
            const pdf417::ReadResult read = frameReader.read(pdf417::ImageView(
                pixels.data(), pixels.size(), static_cast<int>(width), static_cast<int>(height)));
            check(pixelCount == 0 ? read.status != pdf417::ReadStatus::Read
                                  : read.status == pdf417::ReadStatus::Read ||
                                        read.status == pdf417::ReadStatus::NothingFound,
                  "the frame reader refused a valid frame or read an empty one");
            check(read.ok() || (read.bytes.empty() && read.chain == pdf417::ReadChain::None),
                  "a failed frame read carries a message");
        }
    }
    return 0;
}
