// Measures what the scanner reads: libzint symbols of random messages, drawn
// over a grid of module widths, quarter turns, column and row counts, clean,
// mildly or harshly camera-like, each scanned through Barcode2DScanner.
// Prints read rates per grid cell and, for what does not read, the stage at
// which each attempt stopped; then a table of tilts. A wrong read (bytes that
// differ from the message) makes the program exit with status 1. Messages
// that libzint opens with a byte shift are scanned and counted apart: the
// reader reads that shift as text on purpose, so they come back wrong.
//
//   pdf417scan_readmatrix [--cases N] [--seed S] [--failures]
//
// N cases per grid cell (default 2); the same seed gives the same cases;
// --failures lists every case of the grid that did not read.
#include "pdf417scan/api/Barcode2DScanner.h"
#include "pdf417scan/imaging/Image.h"
#include "pdf417scan/imaging/ImageRotate90.h"
#include "pdf417scan/reader/PDF417Reader.h"
#include "tests/support/MessageSymbol.h"
#include "tests/support/SymbolCase.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using pdf417::test::MessageKind;

struct Bucket {
    int low;
    int high;
};

const std::vector<double> kModules = {2.0, 2.5, 3.0, 4.0, 5.0, 6.0};
const std::vector<int> kTurns = {0, 90, 180, 270};
const std::vector<Bucket> kColumns = {{1, 2}, {3, 8}, {9, 16}, {17, 28}, {29, 30}};
const std::vector<Bucket> kRows = {{3, 5}, {6, 14}, {15, 40}, {41, 90}};
const std::vector<double> kTilts = {0.0, 1.0, 2.0, 3.0, 5.0, 8.0};
const std::vector<Bucket> kHeights = {{0, 44}, {45, 59}, {60, 89}, {90, 149}, {150, 100000}};

// Read counts of one table cell.
struct Tally {
    int cases = 0;
    int read = 0;
    int wrong = 0;

    void add(bool ok, bool bad) {
        ++cases;
        read += ok ? 1 : 0;
        wrong += bad ? 1 : 0;
    }
};

std::string cell(const Tally& t) {
    if (t.cases == 0) {
        return "-";
    }
    std::string s = std::to_string(t.read) + "/" + std::to_string(t.cases);
    if (t.wrong > 0) {
        s += " WRONG " + std::to_string(t.wrong);
    }
    return s;
}

std::string range(const Bucket& b) {
    return b.high >= 100000 ? std::to_string(b.low) + "+"
                            : std::to_string(b.low) + "-" + std::to_string(b.high);
}

struct Outcome {
    bool read = false;
    bool wrong = false;
    int upright = -1; // result code of the upright attempt
    int turned = -1;  // of the rotated attempt, -1 when not made
};

// The scan as the entry makes it, plus the reader's result codes on the
// same frame, which the entry does not show.
Outcome scan(pdf417::test::SymbolRenderer::Frame& frame, const std::string& message) {
    Outcome outcome;
    const std::string bytes = pdf417::Barcode2DScanner().scanGrayscaleImage(
        reinterpret_cast<const char*>(frame.pixels.data()), frame.width, frame.height);
    outcome.read = bytes == message;
    outcome.wrong = !bytes.empty() && bytes != message;

    auto reader = std::make_unique<pdf417::PDF417Reader>();
    std::vector<unsigned char> out;
    pdf417::Image image = frame.image();
    outcome.upright = reader->decode(image, out);
    if (out.empty()) {
        pdf417::ImageRotate90 rotated(image);
        outcome.turned = reader->decode(rotated, out);
    }
    return outcome;
}

struct Case {
    MessageKind kind = MessageKind::Text;
    int columns = 0;
    int rows = 0;
    int ecl = 0;
    double module = 0.0;
    double rotation = 0.0;
    int look = 0; // 0 clean, 1 mild, 2 camera
};

const char* const kLookTags[] = {"", ", mild", ", camera"};
const char* const kLooks[] = {"Clean, untilted",
                              "Mild (blur 0.3-0.8 px, noise 1-3 levels, gentle gradient, tilt "
                              "<= 1.5 deg)",
                              "Camera (blur 0.4-1.1 px, noise 2-6 levels, gradient, vignette, "
                              "low contrast, tilt <= 1.5 deg)"};

// Picks columns and rows within the buckets (at most 928 codewords, room for
// data at level 0) and a level that leaves room for data. False if the
// buckets admit no symbol.
bool pickGeometry(const Bucket& columns, const Bucket& rows, std::mt19937& rng, Case& c) {
    for (int attempt = 0; attempt < 200; ++attempt) {
        c.columns = columns.low + static_cast<int>(rng() % (columns.high - columns.low + 1));
        c.rows = rows.low + static_cast<int>(rng() % (rows.high - rows.low + 1));
        if (c.rows * c.columns > 928 || c.rows * c.columns < 4) {
            continue;
        }
        c.ecl = static_cast<int>(rng() % 9);
        while (c.ecl > 0 && c.rows * c.columns - 1 - (2 << c.ecl) < 1) {
            --c.ecl;
        }
        return true;
    }
    return false;
}

struct Result {
    Case c;
    Outcome outcome;
    double heightPixels = 0.0;
    std::string message;
};

// Messages that libzint opens with a byte shift, which the reader reads as
// text on purpose; scanned and counted apart from the grid.
struct ByteShiftOpenings {
    int cases = 0;
    int read = 0;
    int wrong = 0;
};
ByteShiftOpenings byteShiftOpenings;

bool run(Case c, std::uint64_t seed, std::mt19937& rng, Result& result) {
    pdf417::test::Pdf417Modules symbol;
    const double fill = 0.2 + 0.8 * static_cast<double>(rng() % 1000) / 1000.0;
    for (;;) {
        if (!pdf417::test::encodeMessageSymbol(c.kind, c.rows, c.columns, c.ecl, fill, rng,
                                               result.message, symbol)) {
            return false;
        }
        if (!pdf417::test::opensWithByteShift(symbol, c.ecl)) {
            break;
        }
        pdf417::test::SymbolCase placement;
        placement.rows = c.rows;
        placement.columns = c.columns;
        placement.module = c.module;
        placement.rotation = c.rotation;
        auto frame = pdf417::test::renderCase(symbol, placement, seed);
        const Outcome outcome = scan(frame, result.message);
        ++byteShiftOpenings.cases;
        byteShiftOpenings.read += outcome.read ? 1 : 0;
        byteShiftOpenings.wrong += outcome.wrong ? 1 : 0;
    }
    pdf417::test::SymbolCase placement;
    placement.rows = c.rows;
    placement.columns = c.columns;
    placement.module = c.module;
    placement.rotation = c.rotation;
    placement.mild = c.look == 1;
    placement.camera = c.look == 2;
    auto frame = pdf417::test::renderCase(symbol, placement, seed);
    result.c = c;
    result.heightPixels = c.rows * 3.0 * c.module;
    result.outcome = scan(frame, result.message);
    return true;
}

bool supported(const Result& r) {
    return r.c.module >= 3.0 && r.heightPixels >= 60.0 && r.c.columns <= 28;
}

double tiltOf(std::mt19937& rng, double maxTilt) {
    return maxTilt * (static_cast<double>(rng() % 2001) / 1000.0 - 1.0);
}

void printStages(const char* title, const std::vector<Result>& results) {
    // (upright code, rotated code) of the cases that did not read.
    std::map<std::pair<int, int>, int> stages;
    for (const Result& r : results) {
        if (!r.outcome.read) {
            ++stages[{r.outcome.upright, r.outcome.turned}];
        }
    }
    std::printf("\n%s: where the cases that did not read stopped (upright, turned)\n", title);
    for (const auto& [codes, count] : stages) {
        std::printf("  %d, %d: %d\n", codes.first, codes.second, count);
    }
}

} // namespace

int main(int argc, char** argv) {
    int perCell = 2;
    std::uint64_t seed = 1;
    bool listFailures = false;
    for (int i = 1; i < argc; i += 2) {
        if (std::strcmp(argv[i], "--failures") == 0) {
            listFailures = true;
            --i;
        } else if (i + 1 >= argc) {
            std::fprintf(stderr, "usage: %s [--cases N] [--seed S] [--failures]\n", argv[0]);
            return 2;
        } else if (std::strcmp(argv[i], "--cases") == 0) {
            perCell = std::atoi(argv[i + 1]);
        } else if (std::strcmp(argv[i], "--seed") == 0) {
            seed = std::strtoull(argv[i + 1], nullptr, 10);
        } else {
            std::fprintf(stderr, "usage: %s [--cases N] [--seed S]\n", argv[0]);
            return 2;
        }
    }
    std::mt19937 rng(static_cast<std::mt19937::result_type>(seed));
    std::uint64_t caseSeed = seed * 1000003u;
    int wrong = 0;

    // The main grid: every module width, turn, column and row bucket, clean,
    // mild and camera-like (each of the last two tilted within 1.5 degrees).
    std::vector<Result> grid;
    for (const double module : kModules) {
        for (const int turn : kTurns) {
            for (const Bucket& columns : kColumns) {
                for (const Bucket& rows : kRows) {
                    for (int look = 0; look < 3; ++look) {
                        for (int k = 0; k < perCell; ++k) {
                            Case c;
                            if (!pickGeometry(columns, rows, rng, c)) {
                                continue;
                            }
                            c.kind = static_cast<MessageKind>(rng() % 3);
                            c.module = module;
                            c.look = look;
                            c.rotation = turn + (look > 0 ? tiltOf(rng, 1.5) : 0.0);
                            Result r;
                            if (run(c, ++caseSeed, rng, r)) {
                                grid.push_back(r);
                            }
                        }
                    }
                }
            }
        }
    }

    const auto columnBucket = [](int columns) {
        for (std::size_t i = 0; i < kColumns.size(); ++i) {
            if (columns <= kColumns[i].high) {
                return i;
            }
        }
        return kColumns.size() - 1;
    };
    const auto rowBucket = [](int rows) {
        for (std::size_t i = 0; i < kRows.size(); ++i) {
            if (rows <= kRows[i].high) {
                return i;
            }
        }
        return kRows.size() - 1;
    };
    const auto heightBucket = [](double pixels) {
        for (std::size_t i = 0; i < kHeights.size(); ++i) {
            if (pixels < kHeights[i].high + 1) {
                return i;
            }
        }
        return kHeights.size() - 1;
    };
    const auto moduleIndex = [](double module) {
        for (std::size_t i = 0; i < kModules.size(); ++i) {
            if (module == kModules[i]) {
                return i;
            }
        }
        return std::size_t{0};
    };
    const auto turnIndex = [](double rotation) {
        return static_cast<std::size_t>(std::lround(rotation / 90.0)) % 4;
    };

    for (const Result& r : grid) {
        if (listFailures && !r.outcome.read) {
            std::printf("not read: %s %dx%d ecl %d, %.1f px, %.2f deg%s: codes %d, %d\n",
                        pdf417::test::kindName(r.c.kind), r.c.rows, r.c.columns, r.c.ecl,
                        r.c.module, r.c.rotation, kLookTags[r.c.look], r.outcome.upright,
                        r.outcome.turned);
        }
        wrong += r.outcome.wrong ? 1 : 0;
        if (r.outcome.wrong) {
            std::printf("WRONG READ: %s %dx%d ecl %d, %.1f px, %.2f deg%s\n",
                        pdf417::test::kindName(r.c.kind), r.c.rows, r.c.columns, r.c.ecl,
                        r.c.module, r.c.rotation, kLookTags[r.c.look]);
        }
    }

    std::printf("Read matrix, seed %llu, %d case(s) per cell, %zu cases in the grid\n",
                static_cast<unsigned long long>(seed), perCell, grid.size());

    for (int look = 0; look < 3; ++look) {
        std::printf("\n%s: module px x turn, by columns x rows (data columns; symbol rows)\n",
                    kLooks[look]);
        std::printf("%-12s", "px turn");
        for (const Bucket& c : kColumns) {
            for (const Bucket& r : kRows) {
                std::printf(" %9s", (range(c) + ";" + range(r)).c_str());
            }
        }
        std::printf("\n");
        for (std::size_t m = 0; m < kModules.size(); ++m) {
            for (std::size_t t = 0; t < kTurns.size(); ++t) {
                std::vector<Tally> row(kColumns.size() * kRows.size());
                for (const Result& r : grid) {
                    if (r.c.look == look && moduleIndex(r.c.module) == m &&
                        turnIndex(r.c.rotation) == t) {
                        row[columnBucket(r.c.columns) * kRows.size() + rowBucket(r.c.rows)].add(
                            r.outcome.read, r.outcome.wrong);
                    }
                }
                std::printf("%-4.1f %4d   ", kModules[m], kTurns[t]);
                for (const Tally& tally : row) {
                    std::printf(" %9s", cell(tally).c_str());
                }
                std::printf("\n");
            }
        }
    }

    // The same cases by the symbol's height in pixels, which decides
    // whether it is located at all, against module width.
    std::printf("\nBy symbol height in pixels (rows x 3 x module) and module px, data columns "
                "up to 28, all turns, clean and mild\n%-10s",
                "height");
    for (const double m : kModules) {
        std::printf(" %9.1f", m);
    }
    std::printf("\n");
    for (std::size_t h = 0; h < kHeights.size(); ++h) {
        std::vector<Tally> row(kModules.size());
        for (const Result& r : grid) {
            if (r.c.look < 2 && r.c.columns <= 28 && heightBucket(r.heightPixels) == h) {
                row[moduleIndex(r.c.module)].add(r.outcome.read, r.outcome.wrong);
            }
        }
        std::printf("%-10s", range(kHeights[h]).c_str());
        for (const Tally& tally : row) {
            std::printf(" %9s", cell(tally).c_str());
        }
        std::printf("\n");
    }

    // By message kind, over the supported region: data columns up to 28,
    // symbol at least 45 pixels high, modules of 3 pixels or more.
    std::printf("\nBy message kind (clean and mild, modules >= 3 px, >= 60 px high, <= 28 data "
                "columns)\n");
    for (int kind = 0; kind < 3; ++kind) {
        Tally tally;
        for (const Result& r : grid) {
            if (static_cast<int>(r.c.kind) == kind && r.c.look < 2 && supported(r)) {
                tally.add(r.outcome.read, r.outcome.wrong);
            }
        }
        std::printf("  %-7s %s\n", pdf417::test::kindName(static_cast<MessageKind>(kind)),
                    cell(tally).c_str());
    }
    std::printf("\nThe supported region (modules >= 3 px, >= 60 px high, <= 28 data columns), by "
                "look and level\n");
    for (int look = 0; look < 3; ++look) {
        Tally weak, strong;
        for (const Result& r : grid) {
            if (r.c.look == look && supported(r)) {
                (r.c.ecl < 2 ? weak : strong).add(r.outcome.read, r.outcome.wrong);
            }
        }
        std::printf("  %-8s level 0-1: %-9s level 2-8: %s\n",
                    look == 0 ? "clean" : kLookTags[look] + 2, cell(weak).c_str(),
                    cell(strong).c_str());
    }
    printStages("Grid", grid);

    // Tilt: upright symbols at 3 pixels per module, clean, by how far they are
    // turned and how wide they are for their height.
    std::vector<Result> tilts;
    const std::vector<Bucket> shapes = {{3, 8}, {9, 16}, {17, 28}};
    const std::vector<Bucket> tiltRows = {{6, 14}, {15, 30}, {31, 90}};
    for (const double tilt : kTilts) {
        for (const Bucket& columns : shapes) {
            for (const Bucket& rows : tiltRows) {
                for (int k = 0; k < perCell * 2; ++k) {
                    Case c;
                    if (!pickGeometry(columns, rows, rng, c)) {
                        continue;
                    }
                    c.kind = static_cast<MessageKind>(rng() % 3);
                    c.module = 3.0;
                    c.rotation = rng() % 2 ? tilt : -tilt;
                    Result r;
                    if (run(c, ++caseSeed, rng, r)) {
                        tilts.push_back(r);
                    }
                }
            }
        }
    }
    std::printf("\nTilt, clean, 3 px modules, upright: degrees x (data columns; symbol rows)\n%-8s",
                "deg");
    for (const Bucket& c : shapes) {
        for (const Bucket& r : tiltRows) {
            std::printf(" %9s", (range(c) + ";" + range(r)).c_str());
        }
    }
    std::printf("\n");
    for (const double tilt : kTilts) {
        std::printf("%-8.0f", tilt);
        for (const Bucket& columns : shapes) {
            for (const Bucket& rows : tiltRows) {
                Tally tally;
                for (const Result& r : tilts) {
                    if (std::fabs(std::fabs(r.c.rotation) - tilt) < 1e-9 &&
                        r.c.columns >= columns.low && r.c.columns <= columns.high &&
                        r.c.rows >= rows.low && r.c.rows <= rows.high) {
                        tally.add(r.outcome.read, r.outcome.wrong);
                    }
                }
                std::printf(" %9s", cell(tally).c_str());
            }
        }
        std::printf("\n");
    }
    for (const Result& r : tilts) {
        wrong += r.outcome.wrong ? 1 : 0;
    }
    printStages("Tilt", tilts);

    std::printf("\nMessages that libzint opens with a byte shift (scanned apart, read as text "
                "on purpose): %d, of which %d read right and %d came back wrong\n",
                byteShiftOpenings.cases, byteShiftOpenings.read, byteShiftOpenings.wrong);
    std::printf("Wrong reads in the grid and the tilt table: %d\n", wrong);
    return wrong == 0 ? 0 : 1;
}
