#pragma once

#include <string>
#include <vector>

namespace pdf417 {
namespace test {

// One frame of a camera-frame corpus: where its files are and every factor it
// was made with, so that read rates can be broken down by condition.
struct CorpusEntry {
    std::string image;   // the gray frame (PGM), relative to the index's folder
    std::string message; // the expected bytes, relative; empty when no symbol is shown
    // What the symbol carries (short-text, long-text, digits, bytes, licence),
    // or what a frame without one shows instead (texture, stripes, text).
    std::string content;
    int width = 0;
    int height = 0;
    int messageLength = 0;
    int columns = 0; // data columns
    int rows = 0;
    int level = 0; // error correction level
    double modulePx = 0.0;
    double rowHeight = 0.0;   // modules
    double rotation = 0.0;    // degrees, on top of the turn; positive clockwise
    int turn = 0;             // 0, 90, 180 or 270 degrees clockwise
    double perspective = 0.0; // largest corner displacement, as a share of the symbol's size
    double blurPx = 0.0;      // Gaussian sigma, pixels
    double blurModules = 0.0; // the same in modules
    double noise = 0.0;       // Gaussian sigma, gray levels
    double ink = 0.0;
    double paper = 0.0;
    double gradientX = 0.0; // lighting, as SymbolRenderer::Lighting
    double gradientY = 0.0;
    double vignette = 0.0;
    int jpegQuality = 0; // 0: never compressed
    bool fits = true;    // the symbol and its quiet zone lie wholly inside the frame

    bool hasSymbol() const { return !message.empty(); }
};

// The corpus index: a tab-separated file with a header row, one row per
// frame, and '#' comment lines (the generator's settings) anywhere.
class CorpusIndex {
public:
    static std::string header();
    static std::string formatRow(const CorpusEntry& entry);
    // False on a wrong field count, an unparsable or non-finite number, or a
    // tab or line break inside a text field.
    static bool parseRow(const std::string& line, CorpusEntry& entry);

    static bool write(const std::string& path, const std::vector<CorpusEntry>& entries,
                      const std::string& comment);
    // Replaces entries; on failure says why (with the line number) in error.
    static bool read(const std::string& path, std::vector<CorpusEntry>& entries,
                     std::string& error);
};

} // namespace test
} // namespace pdf417
