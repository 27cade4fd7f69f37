#pragma once

#include "pdf417scan/api/ImageView.h"
#include "pdf417scan/api/ReadOptions.h"
#include "pdf417scan/api/ReadResult.h"
#include "pdf417scan/api/ReadTrace.h"
#include "pdf417scan/imaging/Image.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace pdf417 {

class PreciseReader;
class SymbolDecoder;
class VoteTableReader;

// Reads the consecutive frames of a video. What one frame shows of a symbol
// is kept as codeword votes and pooled with the next frames', so a symbol too
// damaged, blurred or glared to read in any single frame can still be read.
// The votes are forgotten once a symbol was read, after twenty frames that
// showed a symbol but could not read it, and on reset().
//
// Construct once (it allocates its working storage, about 100 KB, here and
// not per frame) and use from one thread at a time.
class FrameReader {
public:
    explicit FrameReader(const ReadOptions& options = ReadOptions());
    ~FrameReader();
    FrameReader(const FrameReader&) = delete;
    FrameReader& operator=(const FrameReader&) = delete;
    FrameReader(FrameReader&&) noexcept;
    FrameReader& operator=(FrameReader&&) noexcept;

    // Reads one frame, pooling with the frames before it. Bad arguments are
    // refused with their status before any pixel is touched. When `trace` is
    // given it is replaced with what the read found on its way.
    ReadResult read(const ImageView& frame, ReadTrace* trace = nullptr);

    // Forgets what earlier frames showed, e.g. when the camera moved to
    // another symbol.
    void reset();

    const ReadOptions& options() const { return options_; }

    // ReadStatus::Read when the frame's arguments are usable, else the
    // refusal; looks at no pixel.
    static ReadStatus check(const ImageView& frame);

private:
    // Gray view of a checked frame, converted into luminance_ when in colour.
    Image luminanceOf(const ImageView& frame);
    // Every chain the effort allows, until one reads.
    bool readImage(Image& image, ReadResult& result);
    void fillTrace(const ReadResult& result, ReadTrace& trace) const;

    ReadOptions options_;
    std::unique_ptr<SymbolDecoder> decoder_;
    std::unique_ptr<VoteTableReader> fastChain_;
    std::unique_ptr<PreciseReader> preciseChain_;
    // Colour frames are turned to gray here; gray frames are read in place.
    std::vector<std::uint8_t> luminance_;
    bool preciseRan_ = false;
};

} // namespace pdf417
