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
    // What else the read must give (text, ECI, Macro fields) as JSON,
    // relative; empty when the bytes say it all.
    std::string expect;
    std::string corpus; // camera, crisp, edge, damage, standard or empty
    // What the symbol carries (short-text, long-text, digits, bytes, licence,
    // eci-..., macro, byte-shift), or what a frame without one shows instead
    // (texture, stripes, text, linear barcodes...).
    std::string content;
    // Harm done to the symbol: none, spread, shrink, marker, stripes, blob.
    std::string damage = "none";
    std::string cutSide = "none"; // none, top, bottom, left or right: the frame border cuts it
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
    int jpegQuality = 0;       // 0: never compressed
    bool fits = true;          // the symbol and its quiet zone lie wholly inside the frame
    bool mirrored = false;     // seen from behind: every row reversed
    double sideRatio = 1.0;    // longer over shorter of two opposite sides, the larger pair
    double quietZone = 2.0;    // modules of paper around the symbol
    double background = -1.0;  // gray level beyond the quiet zone; negative: paper
    bool pixelAligned = false; // whole pixels per module on whole pixel positions
    // The damage's size: for spread and shrink the change of a bar's width,
    // for a marker or stripes their width, for a blob its diameter (modules).
    double damageAmount = 0.0;
    double cutModules = 0.0; // how deep the border cuts into the symbol (modules)
    // Data and check codewords the cut or the damage reaches, from the
    // geometry; the symbol's check codewords bound what may be repaired.
    int hitCodewords = 0;
    int checkCodewords = 0;
    int eci = 0;        // the ECI the symbol declares; 0: none
    bool macro = false; // one symbol of a Macro PDF417 sequence

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
