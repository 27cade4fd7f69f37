// synth: writes a deterministic corpus of gray frames with PDF417 symbols
// from libzint (or, for the empty corpus, without), their expected messages
// and an index of the factors each frame was made with.
#include "tests/support/CorpusIndex.h"
#include "tests/support/ImageFiles.h"
#include "tools/synth/CorpusGenerator.h"
#include "tools/synth/CrispGenerator.h"
#include "tools/synth/DamageGenerator.h"
#include "tools/synth/EdgeGenerator.h"
#include "tools/synth/EmptyGenerator.h"
#include "tools/synth/StandardGenerator.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

namespace {

const char* const USAGE =
    "usage: synth --out DIR [--kind KIND] [--seed N] [--frames N] [--frames-1080 N] [--png]\n"
    "  Writes DIR/index.tsv, and per frame a PGM (and a PNG with --png) and, when\n"
    "  the frame shows a symbol, the expected message bytes (.msg) and, where the\n"
    "  read must give more (text, ECI, Macro fields), a .json beside them.\n"
    "  --kind KIND      camera (default), crisp, edge, damage, standard or empty\n"
    "  --seed N         corpus seed (default 1)\n"
    "  --frames N       frames (camera: at 1280x720; default 500)\n"
    "  --frames-1080 N  camera frames at 1920x1080 (default 100)\n";

const char* const KINDS[] = {"camera", "crisp", "edge", "damage", "standard", "empty"};

// What each corpus is, for the index's first comment line.
const char* describeKind(const std::string& kind) {
    if (kind == "crisp") {
        return "computer-drawn symbols, pixel-aligned or not, with and without quiet zone";
    }
    if (kind == "edge") {
        return "symbols cut by the frame border within their error correction";
    }
    if (kind == "damage") {
        return "symbols damaged within their error correction";
    }
    if (kind == "standard") {
        return "ECI, Macro PDF417 and byte-shift symbols";
    }
    if (kind == "empty") {
        return "frames without PDF417";
    }
    return "camera frames";
}

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
    std::string kind = "camera";
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
        } else if (arg == "--kind" && value != nullptr) {
            kind = value;
            ok = std::find(std::begin(KINDS), std::end(KINDS), kind) != std::end(KINDS);
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
    const bool camera = kind == "camera";
    if (!camera) {
        frames1080 = 0;
    }
    const Stream streams[] = {{camera ? "f720_" : "f", 1280, 720, frames720},
                              {"f1080_", 1920, 1080, frames1080}};
    pdf417::synth::CorpusGenerator generator(seed);
    pdf417::synth::CrispGenerator crisp(seed);
    pdf417::synth::EdgeGenerator edge(seed);
    pdf417::synth::DamageGenerator damage(seed);
    pdf417::synth::StandardGenerator standard(seed);
    pdf417::synth::EmptyGenerator empty(seed);
    std::vector<pdf417::test::CorpusEntry> entries;
    pdf417::synth::CorpusFrame frame;
    for (const Stream& stream : streams) {
        for (unsigned long long i = 0; i < stream.count; ++i) {
            std::string error;
            bool made = true;
            if (camera) {
                made = generator.make(i, stream.width, stream.height, frame, error);
            } else if (kind == "crisp") {
                made = crisp.make(i, frame, error);
            } else if (kind == "edge") {
                made = edge.make(i, frame, error);
            } else if (kind == "damage") {
                made = damage.make(i, frame, error);
            } else if (kind == "standard") {
                made = standard.make(i, frame, error);
            } else {
                empty.make(i, frame);
            }
            if (!made) {
                std::cerr << "synth: " << kind << " frame " << i << ": " << error << "\n";
                return 1;
            }
            char stem[32];
            std::snprintf(stem, sizeof stem, "%s%04llu", stream.prefix, i);
            frame.entry.image = std::string(stem) + ".pgm";
            pdf417::test::SymbolRenderer::Frame image;
            image.width = frame.entry.width;
            image.height = frame.entry.height;
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
            if (frame.expected) {
                frame.entry.expect = std::string(stem) + ".json";
                written = written && frame.expected->write(outDir + "/" + frame.entry.expect);
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
    std::string comment = "pdf417scan " + kind + " corpus (" + describeKind(kind) +
                          "), generator " +
                          std::to_string(pdf417::synth::CorpusGenerator::VERSION) + "\nseed " +
                          std::to_string(seed) + ", " + std::to_string(frames720) + " frames";
    if (camera) {
        comment += " at 1280x720, " + std::to_string(frames1080) + " at 1920x1080";
    }
    if (!pdf417::test::CorpusIndex::write(outDir + "/index.tsv", entries, comment)) {
        std::cerr << "synth: cannot write " << outDir << "/index.tsv\n";
        return 1;
    }
    std::cerr << "synth: wrote " << entries.size() << " frames to " << outDir << "\n";
    return 0;
}
