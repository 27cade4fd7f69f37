// synth: writes a deterministic corpus of camera-like gray frames with PDF417
// symbols from libzint, their expected messages and an index of the factors
// each frame was made with.
#include "tests/support/CorpusIndex.h"
#include "tests/support/ImageFiles.h"
#include "tools/synth/CorpusGenerator.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

namespace {

const char* const USAGE =
    "usage: synth --out DIR [--seed N] [--frames N] [--frames-1080 N] [--png]\n"
    "  Writes DIR/index.tsv, and per frame a PGM (and a PNG with --png) and, when\n"
    "  the frame shows a symbol, the expected message bytes (.msg).\n"
    "  --seed N         corpus seed (default 1)\n"
    "  --frames N       frames at 1280x720 (default 500)\n"
    "  --frames-1080 N  frames at 1920x1080 (default 100)\n";

bool parseCount(const char* text, unsigned long long limit, unsigned long long& out) {
    if (text == nullptr || *text == '\0' || *text == '-') {
        return false;
    }
    errno = 0;
    char* end = nullptr;
    const unsigned long long value = std::strtoull(text, &end, 10);
    if (errno != 0 || *end != '\0' || value > limit) {
        return false;
    }
    out = value;
    return true;
}

bool writeBytes(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return static_cast<bool>(out);
}

} // namespace

int main(int argc, char** argv) {
    std::string outDir;
    unsigned long long seed = 1;
    unsigned long long frames720 = 500;
    unsigned long long frames1080 = 100;
    bool png = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const char* value = i + 1 < argc ? argv[i + 1] : nullptr;
        bool ok = true;
        if (arg == "--out" && value != nullptr) {
            outDir = value;
            ++i;
        } else if (arg == "--seed") {
            ok = parseCount(value, ~0ull, seed);
            ++i;
        } else if (arg == "--frames") {
            ok = parseCount(value, 99999, frames720);
            ++i;
        } else if (arg == "--frames-1080") {
            ok = parseCount(value, 99999, frames1080);
            ++i;
        } else if (arg == "--png") {
            png = true;
        } else if (arg == "--help" || arg == "-h") {
            std::cout << USAGE;
            return 0;
        } else {
            ok = false;
        }
        if (!ok) {
            std::cerr << "synth: bad argument " << arg << "\n" << USAGE;
            return 2;
        }
    }
    if (outDir.empty()) {
        std::cerr << USAGE;
        return 2;
    }
    std::error_code ec;
    std::filesystem::create_directories(outDir, ec);
    if (ec) {
        std::cerr << "synth: cannot create " << outDir << ": " << ec.message() << "\n";
        return 1;
    }

    struct Stream {
        const char* prefix;
        int width;
        int height;
        unsigned long long count;
    };
    const Stream streams[] = {{"f720_", 1280, 720, frames720}, {"f1080_", 1920, 1080, frames1080}};
    pdf417::synth::CorpusGenerator generator(seed);
    std::vector<pdf417::test::CorpusEntry> entries;
    pdf417::synth::CorpusFrame frame;
    for (const Stream& stream : streams) {
        for (unsigned long long i = 0; i < stream.count; ++i) {
            std::string error;
            if (!generator.make(i, stream.width, stream.height, frame, error)) {
                std::cerr << "synth: frame " << i << ": " << error << "\n";
                return 1;
            }
            char stem[32];
            std::snprintf(stem, sizeof stem, "%s%04llu", stream.prefix, i);
            frame.entry.image = std::string(stem) + ".pgm";
            pdf417::test::SymbolRenderer::Frame image;
            image.width = stream.width;
            image.height = stream.height;
            image.pixels.swap(frame.pixels);
            bool written = image.writePgm(outDir + "/" + frame.entry.image);
            if (png) {
                written =
                    written && pdf417::test::writeGrayPng(outDir + "/" + stem + ".png",
                                                          image.pixels, image.width, image.height);
            }
            if (!frame.message.empty()) {
                frame.entry.message = std::string(stem) + ".msg";
                written = written && writeBytes(outDir + "/" + frame.entry.message, frame.message);
            }
            if (!written) {
                std::cerr << "synth: cannot write " << stem << " into " << outDir << "\n";
                return 1;
            }
            entries.push_back(frame.entry);
            if (entries.size() % 100 == 0) {
                std::cerr << "synth: " << entries.size() << " frames\n";
            }
        }
    }
    const std::string comment = "pdf417scan camera-frame corpus, generator " +
                                std::to_string(pdf417::synth::CorpusGenerator::VERSION) +
                                "\nseed " + std::to_string(seed) + ", " +
                                std::to_string(frames720) + " frames at 1280x720, " +
                                std::to_string(frames1080) + " at 1920x1080";
    if (!pdf417::test::CorpusIndex::write(outDir + "/index.tsv", entries, comment)) {
        std::cerr << "synth: cannot write " << outDir << "/index.tsv\n";
        return 1;
    }
    std::cerr << "synth: wrote " << entries.size() << " frames to " << outDir << "\n";
    return 0;
}
