#include "pdf417scan/api/FrameReader.h"

#include "pdf417scan/imaging/ImageRotate90.h"
#include "pdf417scan/reader/PreciseReader.h"
#include "pdf417scan/reader/SymbolDecoder.h"
#include "pdf417scan/reader/VoteTableReader.h"

#include <cstddef>
#include <cstdint>
#include <limits>

namespace pdf417 {

namespace {

// The frame turned a quarter clockwise shows image point (y, H - 1 - x) at
// (x, y); this maps a point found there back.
Point2D unturn(const Point2D& p, unsigned imageHeight) {
    return Point2D(p.y(), static_cast<float>(imageHeight) - 1.0f - p.x(), p.mass());
}

// ITU-R BT.601 luma in 8-bit fixed point; the weights add up to 256.
inline std::uint8_t luma(std::uint8_t r, std::uint8_t g, std::uint8_t b) {
    return static_cast<std::uint8_t>((77u * r + 150u * g + 29u * b + 128u) >> 8);
}

} // namespace

FrameReader::FrameReader(const ReadOptions& options)
    : options_(options), decoder_(std::make_unique<SymbolDecoder>()),
      fastChain_(std::make_unique<VoteTableReader>()),
      preciseChain_(std::make_unique<PreciseReader>()) {}

FrameReader::~FrameReader() = default;
FrameReader::FrameReader(FrameReader&&) noexcept = default;
FrameReader& FrameReader::operator=(FrameReader&&) noexcept = default;

ReadStatus FrameReader::check(const ImageView& frame) {
    if (frame.pixels == nullptr) {
        return ReadStatus::NullBuffer;
    }
    const int pixelBytes = bytesPerPixel(frame.format);
    if (pixelBytes == 0) {
        return ReadStatus::UnknownFormat;
    }
    if (frame.width <= 0 || frame.height <= 0) {
        return ReadStatus::BadSize;
    }
    // Below 2^31 times 4: no overflow in 64 bits or in size_t.
    const auto rowBytes =
        static_cast<std::size_t>(frame.width) * static_cast<std::size_t>(pixelBytes);
    if (frame.rowStride < 0 || static_cast<std::size_t>(frame.rowStride) < rowBytes) {
        return ReadStatus::StrideTooSmall;
    }
    // The last row needs only its own bytes, not a whole stride. Checked by
    // division so that no product wraps around.
    const auto stride = static_cast<std::size_t>(frame.rowStride);
    const auto rowsBefore = static_cast<std::size_t>(frame.height - 1);
    if (frame.size < rowBytes ||
        (rowsBefore > 0 && (frame.size - rowBytes) / rowsBefore < stride)) {
        return ReadStatus::BufferTooSmall;
    }
    return ReadStatus::Read;
}

Image FrameReader::luminanceOf(const ImageView& frame) {
    const auto width = static_cast<unsigned>(frame.width);
    const auto height = static_cast<unsigned>(frame.height);
    const auto stride = static_cast<std::size_t>(frame.rowStride);
    // The chains never write pixels; Image is writable only for other users.
    auto* const pixels = const_cast<std::uint8_t*>(frame.pixels);
    if (frame.format == PixelFormat::Luminance) {
        return Image(pixels, width, height, stride);
    }
    const bool bgr = frame.format == PixelFormat::BGR || frame.format == PixelFormat::BGRA;
    const std::size_t step = static_cast<std::size_t>(bytesPerPixel(frame.format));
    const std::size_t r = bgr ? 2 : 0;
    const std::size_t b = bgr ? 0 : 2;
    luminance_.resize(static_cast<std::size_t>(width) * height);
    std::uint8_t* gray = luminance_.data();
    for (std::size_t y = 0; y < height; ++y) {
        const std::uint8_t* pixel = frame.pixels + y * stride;
        for (std::size_t x = 0; x < width; ++x, pixel += step) {
            *gray++ = luma(pixel[r], pixel[1], pixel[b]);
        }
    }
    return Image(luminance_.data(), width, height);
}

ReadResult FrameReader::read(const ImageView& frame, ReadTrace* trace) {
    ReadResult result;
    result.status = check(frame);
    if (trace != nullptr) {
        *trace = ReadTrace();
    }
    if (result.status != ReadStatus::Read) {
        return result;
    }
    result.status = ReadStatus::NothingFound;
    preciseRan_ = false;
    Image image = luminanceOf(frame);
    if (readImage(image, result)) {
        result.status = ReadStatus::Read;
    }
    if (trace != nullptr) {
        fillTrace(result, *trace);
    }
    return result;
}

void FrameReader::fillTrace(const ReadResult& result, ReadTrace& trace) const {
    if (preciseRan_) {
        for (const EdgeLine& edge : preciseChain_->edges()) {
            (edge.kind == PatternHit::Start ? trace.startEdges : trace.stopEdges)
                .push_back({edge.at(edge.from), edge.at(edge.to)});
        }
        const int rows = preciseChain_->gridRows();
        const int columns = preciseChain_->gridColumns();
        if (rows > 0 && columns > 0) {
            const Homography& map = preciseChain_->grid();
            const double width = GridFitter::symbolWidth(columns);
            trace.hasGrid = true;
            trace.rows = rows;
            trace.dataColumns = columns;
            trace.outline = {map(0, 0), map(width, 0), map(width, rows), map(0, rows)};
            // Codeword column boundaries, indicators included, and rows.
            for (int c = 0; c <= columns + 2; ++c) {
                const double u = 17.0 * (c + 1);
                trace.gridLines.push_back({map(u, 0), map(u, rows)});
            }
            for (int r = 1; r < rows; ++r) {
                trace.gridLines.push_back({map(0, r), map(width, r)});
            }
            const std::vector<std::uint16_t>& cells = preciseChain_->gridCells();
            for (int r = 0; r < rows; ++r) {
                for (int c = 0; c < columns; ++c) {
                    if (cells[static_cast<std::size_t>(r * columns + c)] != GridSampler::UNREAD) {
                        continue;
                    }
                    const double u0 = 17.0 * (c + 2);
                    const double u1 = u0 + 17.0;
                    trace.unreadCells.push_back(
                        {map(u0, r), map(u1, r), map(u1, r + 1.0), map(u0, r + 1.0)});
                }
            }
        }
    }
    // A read symbol's own outline wins over a grid that did not read.
    if (result.ok()) {
        trace.hasGrid = true;
        trace.rows = result.rows;
        trace.dataColumns = result.dataColumns;
        trace.outline = result.corners;
        if (result.chain != ReadChain::Precise) {
            trace.gridLines.clear();
            trace.unreadCells.clear();
        }
    }
}

bool FrameReader::readImage(Image& image, ReadResult& result) {
    DecodedSymbol symbol;
    bool turned = false;
    ReadChain chain = ReadChain::Fast;
    bool read = fastChain_->read(image, *decoder_, symbol);
    if (!read && options_.tryQuarterTurn) {
        // The same votes: what the upright attempt saw of a symbol still
        // counts if the turned one finds it too.
        ImageRotate90 rotated(image);
        read = turned = fastChain_->read(rotated, *decoder_, symbol);
    }
    if (!read && options_.effort != Effort::Fast) {
        // Any angle at all: the precise chain needs no quarter turn.
        PreciseReader::Settings settings;
        if (options_.effort == Effort::Thorough) {
            settings.scanStep = 3;
            settings.diagonalStep = 3;
            settings.maxOutlines = 6;
        }
        read = preciseChain_->read(image, settings, *decoder_, symbol);
        preciseRan_ = true;
        chain = ReadChain::Precise;
    }
    if (!read) {
        return false;
    }
    // A reading ends the symbol's pooling in both chains.
    reset();
    result.chain = chain;
    DecodedMessage& message = symbol.message;
    result.bytes = std::move(message.bytes);
    result.text = std::move(message.text);
    result.textComplete = message.textComplete;
    result.ecis = std::move(message.ecis);
    result.macro = std::move(message.macro);
    result.readerInitialisation = message.readerInitialisation;
    for (std::size_t i = 0; i < result.corners.size(); ++i) {
        result.corners[i] = turned ? unturn(symbol.corners[i], image.height()) : symbol.corners[i];
    }
    result.rows = symbol.rows;
    result.dataColumns = symbol.dataColumns;
    result.ecLevel = symbol.ecLevel;
    result.errorsCorrected = symbol.errors;
    result.erasuresCorrected = symbol.erasures;
    return true;
}

void FrameReader::reset() {
    fastChain_->reset();
    preciseChain_->reset();
}

} // namespace pdf417
