// Writes the seed corpus of every fuzz target from real symbols: libzint
// encodes a few messages, the test renderer draws them into small frames, and
// each target gets inputs in its own format built from those frames and from
// the symbols' codewords. Usage: make_fuzz_seeds <directory>; the seeds go to
// <directory>/<target>/. Frames that the reader cannot read are reported and
// fail the run, so the seeds really lead into the whole reading chain.
#include "pdf417scan/api/Read.h"
#include "pdf417scan/ecc/G929Value.h"
#include "pdf417scan/ecc/RS929Encoder.h"
#include "tests/support/ModuleGrid.h"
#include "tests/support/Pdf417Codewords.h"
#include "tests/support/SymbolRenderer.h"
#include "tests/support/ZintPdf417.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace {

using pdf417::test::Pdf417Modules;
using pdf417::test::SymbolRenderer;
namespace fs = std::filesystem;

// Little-endian writer matching the fuzzers' FuzzInput.
class Bytes {
public:
    Bytes& u8(unsigned v) {
        data.push_back(static_cast<std::uint8_t>(v));
        return *this;
    }
    Bytes& u16(unsigned v) { return u8(v & 0xFFu).u8(v >> 8 & 0xFFu); }
    Bytes& u32(std::uint32_t v) { return u16(v & 0xFFFFu).u16(v >> 16); }
    Bytes& u64(std::uint64_t v) {
        return u32(static_cast<std::uint32_t>(v)).u32(static_cast<std::uint32_t>(v >> 32));
    }
    Bytes& raw(const std::vector<std::uint8_t>& bytes) {
        data.insert(data.end(), bytes.begin(), bytes.end());
        return *this;
    }

    std::vector<std::uint8_t> data;
};

struct Symbol {
    std::string message;
    int dataColumns;
    int ecLevel;
    Pdf417Modules modules;
    std::vector<unsigned short> all;  // data and error correction codewords
    std::vector<unsigned short> data; // length descriptor first
};

struct Frame {
    int width;
    int height;
    std::vector<std::uint8_t> pixels;
};

class Writer {
public:
    explicit Writer(fs::path root) : root_(std::move(root)) {}

    bool write(const std::string& target, const Bytes& bytes) {
        const fs::path dir = root_ / target;
        std::error_code error;
        fs::create_directories(dir, error);
        const fs::path file = dir / ("seed-" + std::to_string(++count_[target]));
        std::ofstream out(file, std::ios::binary);
        out.write(reinterpret_cast<const char*>(bytes.data.data()),
                  static_cast<std::streamsize>(bytes.data.size()));
        if (!out) {
            std::fprintf(stderr, "cannot write %s\n", file.c_str());
            return false;
        }
        return true;
    }

private:
    fs::path root_;
    std::map<std::string, int> count_;
};

bool makeSymbol(const std::string& message, int dataColumns, int rows, int ecLevel, Symbol& out) {
    out.message = message;
    out.dataColumns = dataColumns;
    out.ecLevel = ecLevel;
    if (!pdf417::test::encodePdf417(message, {dataColumns, ecLevel, rows}, out.modules)) {
        return false;
    }
    out.all.clear();
    for (const auto& row : pdf417::test::symbolCodewords(out.modules)) {
        for (std::size_t column = 1; column + 1 < row.size(); ++column) {
            if (row[column] < 0) {
                return false;
            }
            out.all.push_back(static_cast<unsigned short>(row[column]));
        }
    }
    out.data = pdf417::test::symbolDataCodewords(out.modules, ecLevel);
    return !out.data.empty();
}

Frame render(const Symbol& symbol, double module, double rotation, double noise) {
    SymbolRenderer::Options options;
    options.moduleWidth = module;
    options.rotationDegrees = rotation;
    options.rowHeight = 3.0;
    options.margin = 6;
    options.blurSigma = 0.5;
    options.noiseSigma = noise;
    options.seed = 7;
    SymbolRenderer renderer;
    auto frame = renderer.render(pdf417::test::ModuleGrid(symbol.modules), options);
    return {frame.width, frame.height, std::move(frame.pixels)};
}

// A frame for fuzz_read in gray or, for any other format value, as RGB
// (gray in every channel), each row padded by `padding` bytes; default
// effort, quarter turn tried.
Bytes frameInput(const Frame& frame, pdf417::PixelFormat format, unsigned padding) {
    Bytes b;
    b.u16(static_cast<unsigned>(frame.width)).u16(static_cast<unsigned>(frame.height));
    const bool gray = format == pdf417::PixelFormat::Luminance;
    b.u8(gray ? 0 : static_cast<unsigned>(pdf417::PixelFormat::RGB)).u8(padding).u8(1);
    for (int y = 0; y < frame.height; ++y) {
        for (int x = 0; x < frame.width; ++x) {
            const std::uint8_t v = frame.pixels[static_cast<std::size_t>(y) * frame.width + x];
            for (int channel = gray ? 1 : 3; channel > 0; --channel) {
                b.u8(v);
            }
        }
        if (y + 1 < frame.height) {
            b.raw(std::vector<std::uint8_t>(padding, 0));
        }
    }
    return b;
}

// A sequence of 24 frames for one reader: damaged copies of the frame, some
// read turned, with a clean copy every fourth frame or, for a long run of
// failures that makes the reader drop its votes, only in the last two.
Bytes readerInput(const Frame& frame, bool turned, bool longRun) {
    Bytes b;
    b.u16(static_cast<unsigned>(frame.width)).u16(static_cast<unsigned>(frame.height));
    b.u8(23).raw(frame.pixels);
    const unsigned rotate = turned ? 0x80u : 0u;
    for (unsigned i = 0; i < 24; ++i) {
        if (longRun ? i >= 22 : i % 4 == 3) {
            b.u8(rotate);
            continue;
        }
        // A vertical white stripe through the middle, then a few dark spots.
        const unsigned stripe = longRun ? 8u : 2u;
        b.u8(rotate | 2u);
        b.u8(0).u16(frame.width / 2 - stripe / 2 + i % 4).u16(0).u16(stripe | 0xFF00u).u8(235);
        b.u8(i % 3).u16(17 * i).u16(5 * i).u16(0x0303u).u8(40);
    }
    return b;
}

Bytes rsArbitrary(const Symbol& s, unsigned erasures) {
    Bytes b;
    b.u8(1).u8(static_cast<unsigned>(s.ecLevel)).u8(erasures);
    for (unsigned e = 0; e < erasures; ++e) {
        b.u32(3 * e + 1);
    }
    for (unsigned short w : s.all) {
        b.u16(w);
    }
    return b;
}

Bytes rsDamaged(const Symbol& s, unsigned errors, unsigned erasures, bool forRSDecoder) {
    Bytes b;
    b.u8(0).u8(static_cast<unsigned>(s.ecLevel));
    b.u16(static_cast<unsigned>(s.data.size() - (forRSDecoder ? 1 : 0)));
    for (unsigned short w : s.data) {
        b.u16(w);
    }
    b.u8(errors);
    for (unsigned e = 0; e < errors; ++e) {
        b.u16(7 * e + 2).u16(100 + e);
    }
    b.u8(erasures);
    for (unsigned e = 0; e < erasures; ++e) {
        b.u16(5 * e + (forRSDecoder ? 1 : 3));
    }
    return b;
}

Bytes rsDecoderArbitrary(const Symbol& s) {
    const std::size_t k = std::size_t{2} << s.ecLevel;
    Bytes b;
    b.u8(1).u16(static_cast<unsigned>(s.all.size())).u16(static_cast<unsigned>(k));
    b.u8(1).u8(1).u16(2);
    for (unsigned short w : s.all) {
        b.u16(w);
    }
    return b;
}

Bytes decoderWords(const std::vector<unsigned short>& words, unsigned mode, int which) {
    Bytes b;
    b.u8(mode);
    if (which >= 0) {
        b.u8(static_cast<unsigned>(which));
    }
    for (unsigned short w : words) {
        b.u16(w);
    }
    return b;
}

Bytes tableVotes(const Symbol& s) {
    const int rows = s.modules.rows;
    const int width = s.dataColumns + 2;
    Bytes b;
    b.u8(0).u8(static_cast<unsigned>(width)).u8(static_cast<unsigned>(rows));
    b.u8(static_cast<unsigned>(s.ecLevel));
    for (int row = 0; row < rows; ++row) {
        for (int column = 1; column + 1 < width; ++column) {
            const unsigned short w =
                s.all[static_cast<std::size_t>(row * s.dataColumns + column - 1)];
            b.u8(2).u8(static_cast<unsigned>(column)).u8(static_cast<unsigned>(row)).u16(w);
            b.u8(static_cast<unsigned>((row + column) % 4)); // repeat
        }
    }
    b.u8(5).u8(1).u8(0); // read the length descriptor
    b.u8(7);             // extract
    b.u8(1);             // clear
    b.u8(7);
    return b;
}

Bytes polynomials(const Symbol& s) {
    Bytes b;
    b.u16(3).u16(s.all.back());
    auto poly = [&](std::size_t from, std::size_t count) {
        count = std::min(count, s.all.size() - std::min(from, s.all.size()));
        b.u8(static_cast<unsigned>(count));
        for (std::size_t i = 0; i < count; ++i) {
            b.u16(s.all[from + i]);
        }
    };
    poly(0, 48);
    poly(s.data.size(), 12);
    poly(1, 8);
    poly(3, 5);
    b.u8(4).u16(3).u16(9).u16(27).u16(0);
    return b;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s <seed directory>\n", argv[0]);
        return 2;
    }
    Writer writer{fs::path(argv[1])};

    // Narrow symbols keep the frames small; modules of three pixels and
    // symbols at least 60 pixels high are what the reader needs.
    struct SeedSymbol {
        std::string message;
        int dataColumns;
        int rows;
        int ecLevel;
    };
    const std::vector<SeedSymbol> seedSymbols = {
        {"PDF417", 1, 9, 1},
        {"Hi, 2026!", 1, 9, 0},
        {"31415926535897932384", 1, 13, 1},
        {std::string("\x00\x01\xfe\xff\x80Z", 6), 1, 11, 1},
        {"Mixed CASE & punct; 42!", 2, 13, 2},
    };
    std::vector<Symbol> symbols;
    for (const SeedSymbol& seed : seedSymbols) {
        Symbol s;
        if (!makeSymbol(seed.message, seed.dataColumns, seed.rows, seed.ecLevel, s)) {
            std::fprintf(stderr, "libzint could not encode seed message %zu\n", symbols.size());
            return 1;
        }
        symbols.push_back(std::move(s));
    }

    bool ok = true;
    int unread = 0;
    for (std::size_t i = 0; i < symbols.size(); ++i) {
        const Symbol& s = symbols[i];
        // Upright, turned (read by the scanner's second attempt), upside down,
        // tilted and noisy; all small enough to fuzz fast.
        const double rotations[] = {0.0, 90.0, 180.0, 3.0};
        for (std::size_t r = 0; r < 4; ++r) {
            const Frame frame = render(s, 3.0, rotations[r], r == 3 ? 5.0 : 1.0);
            const pdf417::ReadResult result = pdf417::read(pdf417::ImageView(
                frame.pixels.data(), frame.pixels.size(), frame.width, frame.height));
            if (std::string(result.bytes.begin(), result.bytes.end()) != s.message) {
                std::fprintf(stderr, "seed frame %zu/%zu (%dx%d) does not read: %s\n", i, r,
                             frame.width, frame.height, pdf417::describe(result.status));
                ++unread;
            }
            ok = writer.write("read", frameInput(frame, pdf417::PixelFormat::Luminance, 0)) && ok;
            if (r == 0) {
                ok = writer.write("read", frameInput(frame, pdf417::PixelFormat::RGB, 7)) && ok;
            }
            if (r < 2) {
                ok = writer.write("reader", readerInput(frame, r == 1, false)) && ok;
                ok = writer.write("reader", readerInput(frame, r == 1, true)) && ok;
            }
        }
        ok = writer.write("rs929", rsArbitrary(s, 0)) && ok;
        ok = writer.write("rs929", rsArbitrary(s, 2)) && ok;
        ok = writer.write("rs929", rsDamaged(s, 1, 1, false)) && ok;
        ok = writer.write("rsdecoder", rsDecoderArbitrary(s)) && ok;
        ok = writer.write("rsdecoder", rsDamaged(s, 1, 1, true)) && ok;
        ok = writer.write("decoder", decoderWords(s.data, 0, -1)) && ok;
        ok = writer.write("decoder", decoderWords(s.data, 1, static_cast<int>(i % 4))) && ok;
        Bytes roundTrip;
        roundTrip.u8(3).u8(static_cast<unsigned>(s.ecLevel));
        roundTrip.raw(std::vector<std::uint8_t>(s.message.begin(), s.message.end()));
        ok = writer.write("decoder", roundTrip) && ok;
        // MessageDecoder: the codewords, and a round trip under an ECI, as
        // a Macro PDF417 segment (count 3, index 1 + i % 3, file ID 017042).
        ok = writer.write("decoder", decoderWords(s.data, 4, 0)) && ok;
        Bytes withOptions;
        withOptions.u8(5).u8(static_cast<unsigned>(s.ecLevel)).u8(static_cast<unsigned>(i));
        withOptions.u8(2 | static_cast<unsigned>(i % 2)).u16(1).u16(static_cast<unsigned>(i));
        withOptions.u8(2).u16(17).u16(42);
        withOptions.raw(std::vector<std::uint8_t>(s.message.begin(), s.message.end()));
        ok = writer.write("decoder", withOptions) && ok;
        ok = writer.write("multitable", tableVotes(s)) && ok;
        ok = writer.write("polynomial", polynomials(s)) && ok;
    }
    // A numeric group of 15 codewords for the base conversion.
    Bytes group;
    group.u8(2).u64(15);
    for (unsigned short w : symbols[2].data) {
        group.u16(w);
    }
    ok = writer.write("decoder", group) && ok;
    // Codewords with ECIs and a Macro PDF417 block for MessageDecoder: two
    // segments under different ECIs, the last of a sequence.
    {
        pdf417::test::ZintOptions options;
        options.ecLevel = 1;
        options.utf8 = true;
        options.structIndex = 2;
        options.structCount = 2;
        options.structId = "017042";
        Pdf417Modules modules;
        if (!pdf417::test::encodePdf417Segments(
                {{"Gr\xC3\xBC\xC3\x9F", 3}, {"\xD0\x96 1234567890123", 7}}, options, modules)) {
            std::fprintf(stderr, "libzint could not encode the ECI seed\n");
            return 1;
        }
        ok = writer.write("decoder",
                          decoderWords(pdf417::test::symbolDataCodewords(modules, 1), 4, 0)) &&
             ok;
    }
    // Plain frames: nothing to find, cheap to mutate.
    Bytes blank;
    blank.u16(64).u16(32).u8(0).u8(0).u8(1).raw(std::vector<std::uint8_t>(64 * 32, 200));
    ok = writer.write("read", blank) && ok;

    if (unread > 0) {
        std::fprintf(stderr, "%d seed frames do not read\n", unread);
        return 1;
    }
    return ok ? 0 : 1;
}
