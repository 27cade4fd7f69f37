#include "bench/readrate/ReadRateReport.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <limits>
#include <sstream>
#include <utility>

namespace pdf417 {
namespace bench {

namespace {

using test::CorpusEntry;
using Cause = DesignedMisread::Cause;

constexpr double INF = std::numeric_limits<double>::infinity();

// One way of splitting the frames with a symbol of some corpora: a label per
// bucket and the bucket of an entry (-1: none). Factors with a plot name are
// drawn for the corpora listed in `plotted`.
struct Factor {
    std::string name;
    std::vector<std::string> corpora;
    std::vector<std::string> labels;
    std::function<int(const CorpusEntry&)> bucket;
    std::string plot; // file name part; empty: not drawn
    std::vector<std::string> plotted;
    std::string axis; // the plot's x axis
};

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

// Buckets [edges[i], edges[i + 1]); the first and last edges may be open.
Factor numeric(std::string name, std::vector<std::string> corpora, std::vector<double> edges,
               std::function<double(const CorpusEntry&)> value,
               std::vector<std::string> labels = {}) {
    if (labels.empty()) {
        for (std::size_t i = 0; i + 1 < edges.size(); ++i) {
            if (i == 0 && edges[0] <= 0.0) {
                labels.push_back("< " + number(edges[1]));
            } else if (std::isinf(edges[i + 1])) {
                labels.push_back("≥ " + number(edges[i]));
            } else {
                labels.push_back(number(edges[i]) + "–" + number(edges[i + 1]));
            }
        }
    }
    auto bucket = [edges, value](const CorpusEntry& e) {
        const double v = value(e);
        for (std::size_t i = 0; i + 1 < edges.size(); ++i) {
            if (v >= edges[i] && v < edges[i + 1]) {
                return static_cast<int>(i);
            }
        }
        return -1;
    };
    return Factor{std::move(name), std::move(corpora), std::move(labels), bucket, "", {}, ""};
}

Factor categorical(std::string name, std::vector<std::string> corpora,
                   std::vector<std::string> labels,
                   std::function<std::string(const CorpusEntry&)> value) {
    auto bucket = [labels, value](const CorpusEntry& e) {
        const auto it = std::find(labels.begin(), labels.end(), value(e));
        return it == labels.end() ? -1 : static_cast<int>(it - labels.begin());
    };
    return Factor{std::move(name), std::move(corpora), std::move(labels), bucket, "", {}, ""};
}

Factor plotted(Factor factor, std::string plot, std::vector<std::string> corpora,
               std::string axis) {
    factor.plot = std::move(plot);
    factor.plotted = std::move(corpora);
    factor.axis = std::move(axis);
    return factor;
}

double lightingSpread(const CorpusEntry& e) {
    return std::max({std::fabs(e.gradientX), std::fabs(e.gradientY), e.vignette});
}

// Clockwise, 0 to 360 degrees.
double angleOf(const CorpusEntry& e) {
    const double angle = std::fmod(e.turn + e.rotation, 360.0);
    return angle < 0.0 ? angle + 360.0 : angle;
}

std::string yesNo(bool value) {
    return value ? "yes" : "no";
}

const std::vector<std::string> SYMBOL_CORPORA = {"camera", "crisp", "edge", "damage", "standard"};

std::vector<Factor> factors() {
    const std::vector<std::string> all = SYMBOL_CORPORA;
    const std::vector<std::string> camera = {"camera"};
    std::vector<Factor> list;
    list.push_back(plotted(numeric("Module size (pixels)", all, {0, 1.5, 2, 2.5, 3, 4, 5, 6.5, INF},
                                   [](const CorpusEntry& e) { return e.modulePx; }),
                           "module-size", {"camera", "crisp", "edge", "damage"},
                           "module size (pixels)"));
    list.push_back(
        plotted(numeric("Symbol height (pixels: rows × row height × module)", all,
                        {0, 50, 100, 200, 400, INF},
                        [](const CorpusEntry& e) { return e.rows * e.rowHeight * e.modulePx; }),
                "symbol-height", {"camera", "crisp"}, "symbol height (pixels)"));
    list.push_back(numeric("Angle (degrees clockwise, ± 22.5)", camera,
                           {0, 45, 90, 135, 180, 225, 270, 315, 360},
                           [](const CorpusEntry& e) { return std::fmod(angleOf(e) + 22.5, 360.0); },
                           {"0", "45", "90", "135", "180", "225", "270", "315"}));
    list.push_back(plotted(numeric("Angle off the nearest right angle (degrees, either way)",
                                   camera, {0, 1, 3, 5, 10, 20, 30, INF},
                                   [](const CorpusEntry& e) { return std::fabs(e.rotation); }),
                           "angle", camera, "angle off the nearest right angle (degrees)"));
    list.push_back(plotted(numeric("Perspective (longer over shorter opposite side)", camera,
                                   {1, 1.05, 1.2, 1.4, 1.6, 1.8, INF},
                                   [](const CorpusEntry& e) { return e.sideRatio; }),
                           "perspective", camera, "longer over shorter opposite side"));
    list.push_back(plotted(
        numeric("Blur (Gaussian sigma, modules)", {"camera", "edge", "damage", "standard"},
                {0, 0.1, 0.2, 0.3, 0.4, INF}, [](const CorpusEntry& e) { return e.blurModules; }),
        "blur", camera, "blur (Gaussian sigma, modules)"));
    list.push_back(numeric("Noise (sigma, gray levels)", camera, {0, 3, 6, 9, INF},
                           [](const CorpusEntry& e) { return e.noise; }));
    list.push_back(categorical("Mirrored", camera, {"no", "yes"},
                               [](const CorpusEntry& e) { return yesNo(e.mirrored); }));
    list.push_back(categorical("Pixel-aligned", {"crisp"}, {"yes", "no"},
                               [](const CorpusEntry& e) { return yesNo(e.pixelAligned); }));
    list.push_back(
        categorical("Quiet zone", {"crisp"}, {"2 modules", "none"}, [](const CorpusEntry& e) {
            return e.quietZone > 0.0 ? std::string("2 modules") : std::string("none");
        }));
    list.push_back(numeric("Data columns", {"camera", "crisp"}, {1, 3, 6, 11, 16, 21, INF},
                           [](const CorpusEntry& e) { return e.columns; },
                           {"1–2", "3–5", "6–10", "11–15", "16–20", "21–30"}));
    list.push_back(numeric("Symbol rows", {"camera", "crisp"}, {3, 4, 6, 11, 31, INF},
                           [](const CorpusEntry& e) { return e.rows; },
                           {"3", "4–5", "6–10", "11–30", "31–90"}));
    list.push_back(categorical("Error correction level", {"camera", "crisp", "edge", "damage"},
                               {"2", "3", "4", "5", "6"},
                               [](const CorpusEntry& e) { return std::to_string(e.level); }));
    list.push_back(categorical("Content", {"camera", "crisp", "standard"},
                               {"short-text", "long-text", "digits", "bytes", "licence", "eci-utf8",
                                "eci-latin1", "eci-latin2", "eci-cyrillic", "eci-greek",
                                "eci-windows1251", "eci-shift-jis", "eci-big5", "eci-gb2312",
                                "eci-euc-kr", "macro", "byte-shift"},
                               [](const CorpusEntry& e) { return e.content; }));
    list.push_back(
        categorical("JPEG quality", camera, {"none", "90", "70"}, [](const CorpusEntry& e) {
            return e.jpegQuality == 0 ? std::string("none") : std::to_string(e.jpegQuality);
        }));
    list.push_back(numeric("Ink contrast (paper − ink, gray levels)", camera,
                           {0, 80, 120, 160, INF},
                           [](const CorpusEntry& e) { return e.paper - e.ink; }));
    list.push_back(numeric("Uneven lighting (largest gradient or vignette)", camera,
                           {0, 1e-9, 0.1, 0.2, INF}, lightingSpread,
                           {"even", "< 0.1", "0.1–0.2", "≥ 0.2"}));
    list.push_back(
        categorical("Frame size", camera, {"1280×720", "1920×1080"}, [](const CorpusEntry& e) {
            return std::to_string(e.width) + "×" + std::to_string(e.height);
        }));
    list.push_back(categorical("Side cut by the border", {"edge"},
                               {"top", "bottom", "left", "right"},
                               [](const CorpusEntry& e) { return e.cutSide; }));
    list.push_back(plotted(
        numeric("Codewords cut, as a share of the check codewords (none: the border takes only "
                "the quiet zone, or patterns and row indicators)",
                {"edge"}, {0, 1e-9, 0.25, 0.5, 0.75, 1.01},
                [](const CorpusEntry& e) {
                    return e.checkCodewords > 0 ? double(e.hitCodewords) / e.checkCodewords : 0.0;
                },
                {"none (quiet zone or patterns only)", "< 25 %", "25–50 %", "50–75 %", "75–100 %"}),
        "cut", {"edge"}, "codewords cut, share of the check codewords"));
    list.push_back(numeric("Depth of the cut (modules into the symbol)", {"edge"},
                           {0, 1e-9, 5, 17, 34, 60, INF},
                           [](const CorpusEntry& e) { return e.cutModules; },
                           {"none", "< 5", "5–17", "17–34", "34–60", "≥ 60"}));
    list.push_back(
        plotted(categorical("Damage", {"damage"}, {"spread", "shrink", "marker", "stripes", "blob"},
                            [](const CorpusEntry& e) { return e.damage; }),
                "damage", {"damage"}, "damage"));
    list.push_back(plotted(
        numeric("Damaged codewords, twice their number as a share of the check codewords (none: "
                "spread and shrink)",
                {"damage"}, {0, 1e-9, 0.25, 0.5, 0.75, 1.01},
                [](const CorpusEntry& e) {
                    return e.checkCodewords > 0 ? 2.0 * e.hitCodewords / e.checkCodewords : 0.0;
                },
                {"none", "< 25 %", "25–50 %", "50–75 %", "75–100 %"}),
        "damage-share", {"damage"}, "twice the damaged codewords, share of the check codewords"));
    list.push_back(numeric("Ink spread or shrink (change of bar width, modules)", {"damage"},
                           {0.1, 0.2, 0.3, 0.4, 0.5}, [](const CorpusEntry& e) {
                               return e.damage == "spread" || e.damage == "shrink" ? e.damageAmount
                                                                                   : -1.0;
                           }));
    return list;
}

bool appliesTo(const std::vector<std::string>& corpora, const std::string& corpus) {
    return std::find(corpora.begin(), corpora.end(), corpus) != corpora.end();
}

struct Tally {
    std::size_t frames = 0;
    std::size_t read = 0;
    std::size_t wrong = 0;
    std::size_t specifiedRead = 0;

    void add(const FrameResult& r) {
        ++frames;
        read += r.read.outcome == Outcome::Read ? 1 : 0;
        wrong += r.read.outcome == Outcome::Wrong ? 1 : 0;
        specifiedRead += r.specified.outcome == Outcome::Read ? 1 : 0;
    }
    double rate() const { return frames == 0 ? 0.0 : 100.0 * read / frames; }
    double specifiedRate() const { return frames == 0 ? 0.0 : 100.0 * specifiedRead / frames; }
};

// The tallies of one factor's buckets over one corpus's frames with a symbol.
std::vector<Tally> tallies(const Factor& factor, const std::string& corpus,
                           const std::vector<CorpusEntry>& entries,
                           const std::vector<FrameResult>& results) {
    std::vector<Tally> sums(factor.labels.size());
    for (const FrameResult& r : results) {
        const CorpusEntry& e = entries[r.entry];
        if (e.corpus != corpus || !e.hasSymbol()) {
            continue;
        }
        const int b = factor.bucket(e);
        if (b >= 0) {
            sums[static_cast<std::size_t>(b)].add(r);
        }
    }
    return sums;
}

struct Spread {
    std::size_t count = 0;
    double median = 0.0;
    double p90 = 0.0;
    double max = 0.0;
    double mean = 0.0;
};

// Nearest-rank percentiles.
Spread spread(std::vector<double> values) {
    Spread s;
    s.count = values.size();
    if (values.empty()) {
        return s;
    }
    std::sort(values.begin(), values.end());
    const auto rank = [&](double p) {
        const auto k = static_cast<std::size_t>(std::ceil(p * static_cast<double>(values.size())));
        return values[std::min(std::max<std::size_t>(k, 1), values.size()) - 1];
    };
    s.median = rank(0.5);
    s.p90 = rank(0.9);
    s.max = values.back();
    double sum = 0.0;
    for (double v : values) {
        sum += v;
    }
    s.mean = sum / static_cast<double>(values.size());
    return s;
}

std::string ms(double value) {
    char text[32];
    std::snprintf(text, sizeof text, value < 10.0 ? "%.2f" : "%.1f", value);
    return text;
}

std::string times(const Spread& s) {
    return s.count == 0 ? "–" : ms(s.median) + " / " + ms(s.p90) + " / " + ms(s.max);
}

std::string percent(std::size_t part, std::size_t whole) {
    if (whole == 0) {
        return "–";
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.1f %%", 100.0 * part / whole);
    return text;
}

std::string share(double part, double whole) {
    if (!(whole > 0.0)) {
        return "–";
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.1f %%", 100.0 * part / whole);
    return text;
}

// A chain's name; chains added later show by number until named here.
std::string chainName(ReadChain chain) {
    switch (chain) {
    case ReadChain::None:
        return "none";
    case ReadChain::Fast:
        return "fast";
    case ReadChain::Precise:
        return "precise";
    }
    return "chain " + std::to_string(static_cast<int>(chain));
}

// What a corpus is held to: read rate (or, for the empty corpus, the reads
// allowed), frame-time limits (NaN: none).
struct Target {
    double readRate = 0.0;
    double median = std::nan("");
    double p90 = std::nan("");
    double max = std::nan("");
    std::string text;
};

Target targetOf(const std::string& corpus) {
    const double none = std::nan("");
    if (corpus == "camera") {
        return {95.0, 2.0, 8.0, none, "≥ 95 % read, 0 wrong, median ≤ 2 ms, p90 ≤ 8 ms"};
    }
    if (corpus == "crisp") {
        return {99.0, 2.0, none, none, "≥ 99 % read, 0 wrong, median ≤ 2 ms"};
    }
    if (corpus == "edge" || corpus == "damage") {
        return {90.0, none, none, none, "≥ 90 % read, 0 wrong"};
    }
    if (corpus == "standard") {
        return {100.0, none, none, none, "100 % read, 0 wrong"};
    }
    if (corpus == "empty") {
        return {0.0, 1.5, none, 15.0, "0 read, median ≤ 1.5 ms, max ≤ 15 ms"};
    }
    return {0.0, none, none, none, "–"};
}

std::string mark(bool met) {
    return met ? "✓" : "✗";
}

// A frame's factors, for naming it in a table.
std::string factorsOf(const CorpusEntry& e) {
    char text[640];
    std::snprintf(text, sizeof text,
                  "%s, %d bytes, %d columns × %d rows, level %d, module %.2f px, row height %.1f, "
                  "angle %.1f°, sides %.2f:1%s, blur %.2f modules, noise %.1f, ink %.0f on paper "
                  "%.0f%s%s%s",
                  e.content.c_str(), e.messageLength, e.columns, e.rows, e.level, e.modulePx,
                  e.rowHeight, angleOf(e), e.sideRatio, e.mirrored ? ", mirrored" : "",
                  e.blurModules, e.noise, e.ink, e.paper,
                  e.jpegQuality == 0 ? "" : (", JPEG " + std::to_string(e.jpegQuality)).c_str(),
                  e.damage == "none" ? "" : (", " + e.damage).c_str(),
                  e.cutSide == "none" ? "" : (", cut " + e.cutSide).c_str());
    return text;
}

// A path as a single-quoted shell word.
std::string shellQuoted(const std::string& path) {
    std::string out = "'";
    for (char c : path) {
        out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return out + "'";
}

// A path as a single-quoted gnuplot string, where a quote is doubled.
std::string gnuplotQuoted(const std::string& path) {
    std::string out = "'";
    for (char c : path) {
        out += c == '\'' ? std::string("''") : std::string(1, c);
    }
    return out + "'";
}

std::string plotFile(const std::string& corpus, const std::string& plot) {
    return "readrate-" + corpus + "-" + plot + ".png";
}

// Frame times of one way of reading, over results that pass `keep`.
Spread timesOf(const std::vector<FrameResult>& results, Attempt FrameResult::*attempt,
               const std::function<bool(const FrameResult&)>& keep) {
    std::vector<double> values;
    for (const FrameResult& r : results) {
        if (keep(r)) {
            values.push_back((r.*attempt).ms);
        }
    }
    return spread(values);
}

} // namespace

const char* outcomeName(Outcome outcome) {
    switch (outcome) {
    case Outcome::Read:
        return "read";
    case Outcome::Missed:
        return "missed";
    case Outcome::Wrong:
        return "wrong";
    case Outcome::Empty:
        return "empty";
    case Outcome::FalseRead:
        return "false-read";
    }
    return "unknown";
}

ReadRateReport::ReadRateReport(std::vector<test::CorpusEntry> entries,
                               std::vector<FrameResult> results, RunInfo info)
    : entries_(std::move(entries)), results_(std::move(results)), info_(std::move(info)) {}

std::size_t ReadRateReport::count(Outcome outcome) const {
    return static_cast<std::size_t>(
        std::count_if(results_.begin(), results_.end(),
                      [&](const FrameResult& r) { return r.read.outcome == outcome; }));
}

std::vector<std::string> ReadRateReport::corpusNames() const {
    std::vector<std::string> names;
    for (const FrameResult& r : results_) {
        const std::string& name = entries_[r.entry].corpus;
        if (std::find(names.begin(), names.end(), name) == names.end()) {
            names.push_back(name);
        }
    }
    return names;
}

std::string ReadRateReport::summary() const {
    std::ostringstream out;
    for (const std::string& corpus : corpusNames()) {
        std::size_t symbols = 0, read = 0, wrong = 0, empties = 0, falseReads = 0, specified = 0;
        for (const FrameResult& r : results_) {
            if (entries_[r.entry].corpus != corpus) {
                continue;
            }
            const bool symbol = entries_[r.entry].hasSymbol();
            symbols += symbol ? 1 : 0;
            empties += symbol ? 0 : 1;
            read += r.read.outcome == Outcome::Read ? 1 : 0;
            wrong += r.read.outcome == Outcome::Wrong ? 1 : 0;
            falseReads += r.read.outcome == Outcome::FalseRead ? 1 : 0;
            specified += r.specified.outcome == Outcome::Read ? 1 : 0;
        }
        out << corpus << ": read " << read << " of " << symbols << " (" << percent(read, symbols)
            << "), wrong " << wrong << ", false reads " << falseReads << " of " << empties
            << "; Barcode2DScanner read " << specified << "\n";
    }
    return out.str();
}

bool ReadRateReport::writeMarkdown(const std::string& path) const {
    std::ofstream out(path, std::ios::binary);
    if (!out) {
        return false;
    }
    const std::vector<std::string> corpora = corpusNames();
    const auto inCorpus = [&](const std::string& corpus) {
        return [this, corpus](const FrameResult& r) { return entries_[r.entry].corpus == corpus; };
    };

    out << "# Read rate and speed\n\n";
    out << "Measured by `bench/readrate` over synthetic corpora made by `tools/synth/synth` "
           "(libzint symbols drawn by the test renderer; every corpus seeded and deterministic). "
           "Every frame is read on one thread through `pdf417::read` with the default options, "
           "again with `Effort::Fast`, and, for comparison, through "
           "`Barcode2DScanner::scanGrayscaleImage`. A read through `pdf417::read` is right when "
           "its bytes are the expected message and, where the corpus gives them, its text, ECI "
           "assignments and Macro PDF417 fields are the expected ones.\n\n";
    for (const auto& corpus : info_.corpora) {
        out << "- Corpus `" << corpus.first << "`: " << corpus.second << "\n";
    }
    out << "- Build: " << info_.build << "\n";
    out << "- Machine: " << info_.machine << "\n";
    if (!info_.load.empty()) {
        out << "- Load averages (1, 5, 15 minutes): " << info_.load << "\n";
    }
    char wall[32];
    std::snprintf(wall, sizeof wall, "%.1f", info_.wallSeconds);
    out << "- Run: " << info_.date << ", " << info_.repeats
        << " reads per frame and way, the median timed; " << wall << " s in all; peak resident "
        << ms(info_.peakRssKiB / 1024.0) << " MiB\n";
    out << "- Made again by `make bench`, into `build/bench/`.\n\n";
    if (info_.mirrorMismatches != 0 || info_.unstable != 0) {
        out << "**Warning:** " << info_.mirrorMismatches
            << " frames read differently stage by stage than through `Barcode2DScanner`, and "
            << info_.unstable << " frames read differently from one repeat to the next.\n\n";
    }

    // Headline: one row per corpus, the targets beside.
    out << "## Headline\n\n";
    out << "Through `pdf417::read`. Time is per frame over all frames of the corpus: median / "
           "90th percentile / max. ✓ and ✗ say whether the target is met.\n\n";
    const std::size_t unexplained = static_cast<std::size_t>(
        std::count_if(results_.begin(), results_.end(), [](const FrameResult& r) {
            return (r.specified.outcome == Outcome::Wrong && r.cause == Cause::None) ||
                   r.specified.outcome == Outcome::FalseRead;
        }));
    if (unexplained == 0) {
        out << "Every wrong read through `Barcode2DScanner` is one its decoder makes by design "
               "(see [below](#through-barcode2dscanner)).\n\n";
    } else {
        out << unexplained
            << " wrong or false reads through `Barcode2DScanner` are misreads, not its design "
               "(see [below](#through-barcode2dscanner)).\n\n";
    }
    out << "| Corpus | Frames | Read | Wrong | Time (ms) | Target | Barcode2DScanner: read, wrong "
           "|\n|---|---:|---:|---:|---:|---|---:|\n";
    for (const std::string& corpus : corpora) {
        std::size_t symbols = 0, read = 0, wrong = 0, frames = 0, falseReads = 0;
        std::size_t specifiedRead = 0, specifiedWrong = 0;
        for (const FrameResult& r : results_) {
            if (entries_[r.entry].corpus != corpus) {
                continue;
            }
            ++frames;
            symbols += entries_[r.entry].hasSymbol() ? 1 : 0;
            read += r.read.outcome == Outcome::Read ? 1 : 0;
            wrong += r.read.outcome == Outcome::Wrong ? 1 : 0;
            falseReads += r.read.outcome == Outcome::FalseRead ? 1 : 0;
            specifiedRead += r.specified.outcome == Outcome::Read ? 1 : 0;
            specifiedWrong +=
                r.specified.outcome == Outcome::Wrong || r.specified.outcome == Outcome::FalseRead
                    ? 1
                    : 0;
        }
        const Spread t = timesOf(results_, &FrameResult::read, inCorpus(corpus));
        const Target target = targetOf(corpus);
        const bool timeMet =
            !(t.median > target.median) && !(t.p90 > target.p90) && !(t.max > target.max);
        std::string readCell;
        if (symbols == 0) {
            readCell = std::to_string(falseReads) + " read " + mark(falseReads == 0);
        } else {
            readCell = percent(read, symbols) + " " +
                       mark(100.0 * read >= target.readRate * static_cast<double>(symbols));
        }
        out << "| " << corpus << " | " << frames << " | " << readCell << " | " << wrong + falseReads
            << " " << mark(wrong + falseReads == 0) << " | " << times(t)
            << (std::isnan(target.median) && std::isnan(target.max) ? "" : " " + mark(timeMet))
            << " | " << target.text << " | "
            << (symbols == 0
                    ? std::to_string(specifiedWrong) + " read"
                    : percent(specifiedRead, symbols) + ", " + std::to_string(specifiedWrong))
            << " |\n";
    }
    out << "\n";

    // Which chain read what, and at what cost.
    out << "## Which chain read each frame\n\n";
    out << "Frames by the chain of `pdf417::read` that read them (none: nothing was read), "
           "with their frame times (median / 90th percentile / max, ms).\n\n";
    out << "| Corpus | Chain | Frames | Share | Time (ms) |\n|---|---|---:|---:|---:|\n";
    for (const std::string& corpus : corpora) {
        std::vector<ReadChain> chains;
        std::size_t frames = 0;
        for (const FrameResult& r : results_) {
            if (entries_[r.entry].corpus == corpus) {
                ++frames;
                if (std::find(chains.begin(), chains.end(), r.chain) == chains.end()) {
                    chains.push_back(r.chain);
                }
            }
        }
        std::sort(chains.begin(), chains.end());
        for (const ReadChain chain : chains) {
            const Spread t = timesOf(results_, &FrameResult::read, [&](const FrameResult& r) {
                return entries_[r.entry].corpus == corpus && r.chain == chain;
            });
            out << "| " << corpus << " | " << chainName(chain) << " | " << t.count << " | "
                << percent(t.count, frames) << " | " << times(t) << " |\n";
        }
    }
    out << "\n";

    out << "## Wrong reads through `pdf417::read`\n\n";
    const std::size_t misreads = count(Outcome::Wrong) + count(Outcome::FalseRead);
    if (misreads == 0) {
        out << "None.\n\n";
    } else {
        out << "| Corpus | Frame | Chain | What differs | Factors |\n|---|---|---|---|---|\n";
        for (const FrameResult& r : results_) {
            if (r.read.outcome == Outcome::Wrong || r.read.outcome == Outcome::FalseRead) {
                const CorpusEntry& e = entries_[r.entry];
                out << "| " << e.corpus << " | " << e.image << " | " << chainName(r.chain) << " | "
                    << r.mismatch << " | " << factorsOf(e) << " |\n";
            }
        }
        out << "\n";
    }

    out << "## `Effort::Fast`\n\n";
    out << "The same frames through `pdf417::read` with `Effort::Fast`.\n\n";
    out << "| Corpus | Read | Wrong or false | Time (ms) |\n|---|---:|---:|---:|\n";
    for (const std::string& corpus : corpora) {
        std::size_t symbols = 0, read = 0, wrong = 0;
        for (const FrameResult& r : results_) {
            if (entries_[r.entry].corpus == corpus) {
                symbols += entries_[r.entry].hasSymbol() ? 1 : 0;
                read += r.fast.outcome == Outcome::Read ? 1 : 0;
                wrong += r.fast.outcome == Outcome::Wrong || r.fast.outcome == Outcome::FalseRead
                             ? 1
                             : 0;
            }
        }
        out << "| " << corpus << " | " << (symbols == 0 ? "–" : percent(read, symbols)) << " | "
            << wrong << " | " << times(timesOf(results_, &FrameResult::fast, inCorpus(corpus)))
            << " |\n";
    }
    out << "\n";

    // The specified entry, for comparison.
    out << "## Through Barcode2DScanner\n\n";
    out << "`Barcode2DScanner::scanGrayscaleImage`: the frame as it is and, when that yields "
           "nothing, turned 90 degrees. Its wrong reads are put down to a rule of its decoder "
           "only when the symbol holds the codeword the rule is about and decoding the symbol's "
           "true codewords with that decoder gives exactly the bytes read:\n\n"
           "- † the byte-shift rule: a byte shift (913) met outside text, such as one opening "
           "the data, is skipped and the codeword after it read as text; libzint opens a "
           "message of one byte outside text followed by text that way.\n"
           "- ‡ Macro PDF417, ECI and reader initialisation codewords are not interpreted: each "
           "is skipped and what follows it read as text.\n\n";
    out << "| Corpus | Read | Missed | Wrong | † | ‡ | Misread | False reads | Time (ms) |\n"
           "|---|---:|---:|---:|---:|---:|---:|---:|---:|\n";
    for (const std::string& corpus : corpora) {
        std::size_t symbols = 0, read = 0, missed = 0, wrong = 0, shift = 0, macro = 0, misread = 0,
                    falseReads = 0, empties = 0, shiftSymbols = 0, macroSymbols = 0;
        for (const FrameResult& r : results_) {
            if (entries_[r.entry].corpus != corpus) {
                continue;
            }
            const bool symbol = entries_[r.entry].hasSymbol();
            symbols += symbol ? 1 : 0;
            empties += symbol ? 0 : 1;
            const Outcome o = r.specified.outcome;
            read += o == Outcome::Read ? 1 : 0;
            missed += o == Outcome::Missed ? 1 : 0;
            wrong += o == Outcome::Wrong ? 1 : 0;
            shift += o == Outcome::Wrong && r.cause == Cause::ByteShift ? 1 : 0;
            macro += o == Outcome::Wrong && r.cause == Cause::MacroEci ? 1 : 0;
            misread += o == Outcome::Wrong && r.cause == Cause::None ? 1 : 0;
            falseReads += o == Outcome::FalseRead ? 1 : 0;
            shiftSymbols += r.feature == Cause::ByteShift ? 1 : 0;
            macroSymbols += r.feature == Cause::MacroEci ? 1 : 0;
        }
        out << "| " << corpus << " | "
            << (symbols == 0 ? "–" : std::to_string(read) + " (" + percent(read, symbols) + ")")
            << " | " << missed << " | " << wrong << " | " << shift << " of " << shiftSymbols
            << " | " << macro << " of " << macroSymbols << " | " << misread << " | " << falseReads
            << " of " << empties << " | "
            << times(timesOf(results_, &FrameResult::specified, inCorpus(corpus))) << " |\n";
    }
    out << "\n† and ‡ count the wrong reads each rule explains, of the symbols it applies "
           "to.\n\n";

    out << "### Misreads through Barcode2DScanner\n\n";
    if (unexplained == 0) {
        out << "None: every wrong read is one of the rules above.\n\n";
    } else {
        out << "| Corpus | Frame | Expected bytes | Read bytes | Factors |\n"
               "|---|---|---:|---:|---|\n";
        for (const FrameResult& r : results_) {
            if ((r.specified.outcome == Outcome::Wrong && r.cause == Cause::None) ||
                r.specified.outcome == Outcome::FalseRead) {
                const CorpusEntry& e = entries_[r.entry];
                out << "| " << e.corpus << " | " << e.image << " | " << e.messageLength << " | "
                    << r.specified.gotLength << " | " << factorsOf(e) << " |\n";
            }
        }
        out << "\n";
    }

    out << "### Where the time goes\n\n";
    out << "The fast chain run again stage by stage (both attempts summed per frame); "
           "milliseconds per frame over all frames of all corpora.\n\n";
    out << "| Stage | Median | Mean | 90th percentile | Max | Share of the total |\n"
           "|---|---:|---:|---:|---:|---:|\n";
    const std::pair<const char*, double StageTimes::*> stages[] = {
        {"detect (`Detector::detect`)", &StageTimes::detect},
        {"cut (`Cutter::cut`)", &StageTimes::cut},
        {"sample (`Sampler::sample`)", &StageTimes::sample},
        {"extract and correct (`MultiTable::getData`, `RS929Decoder::decode`)",
         &StageTimes::correct},
        {"decode (`Decoder::decode`)", &StageTimes::decode}};
    double grand = 0.0;
    for (const FrameResult& r : results_) {
        grand += r.stages.total();
    }
    for (const auto& stage : stages) {
        std::vector<double> values;
        double sum = 0.0;
        for (const FrameResult& r : results_) {
            values.push_back(r.stages.*stage.second);
            sum += r.stages.*stage.second;
        }
        const Spread s = spread(values);
        out << "| " << stage.first << " | " << ms(s.median) << " | " << ms(s.mean) << " | "
            << ms(s.p90) << " | " << ms(s.max) << " | " << share(sum, grand) << " |\n";
    }
    out << "\n";

    out << "### Where frames not read stop\n\n";
    out << "The furthest stage either attempt of the fast chain reached, for frames with a "
           "symbol it missed or read wrongly.\n\n";
    out << "| Stopped at |";
    for (const std::string& corpus : corpora) {
        out << " " << corpus << " |";
    }
    out << "\n|---|";
    for (std::size_t i = 0; i < corpora.size(); ++i) {
        out << "---:|";
    }
    out << "\n";
    for (int k = 0; k < REACHED_COUNT; ++k) {
        const auto reached = static_cast<Reached>(k);
        out << "| " << describe(reached) << " |";
        for (const std::string& corpus : corpora) {
            out << " "
                << std::count_if(results_.begin(), results_.end(),
                                 [&](const FrameResult& r) {
                                     return entries_[r.entry].corpus == corpus &&
                                            (r.specified.outcome == Outcome::Missed ||
                                             r.specified.outcome == Outcome::Wrong) &&
                                            r.reached == reached;
                                 })
                << " |";
        }
        out << "\n";
    }
    out << "\n";

    out << "## Frame times\n\n";
    out << "Frame times through `pdf417::read` by outcome (median / 90th percentile / max, "
           "ms).\n\n";
    out << "| Corpus | Read | Missed | Wrong | No symbol | All |\n|---|---:|---:|---:|---:|---:|\n";
    for (const std::string& corpus : corpora) {
        out << "| " << corpus;
        for (const Outcome o : {Outcome::Read, Outcome::Missed, Outcome::Wrong}) {
            out << " | " << times(timesOf(results_, &FrameResult::read, [&](const FrameResult& r) {
                return entries_[r.entry].corpus == corpus && r.read.outcome == o;
            }));
        }
        out << " | " << times(timesOf(results_, &FrameResult::read, [&](const FrameResult& r) {
            return entries_[r.entry].corpus == corpus && !entries_[r.entry].hasSymbol();
        }));
        out << " | " << times(timesOf(results_, &FrameResult::read, inCorpus(corpus))) << " |\n";
    }
    out << "\n![Frame times](" << PLOT_TIMES << ")\n\n";

    // Per corpus: what each factor does to the read rate, both ways.
    const std::vector<Factor> list = factors();
    for (const std::string& corpus : corpora) {
        out << "## Corpus `" << corpus << "`\n\n";
        if (corpus == "empty" || !appliesTo(SYMBOL_CORPORA, corpus)) {
            // Frames without a symbol: what reads as something, by what the
            // frame shows.
            std::vector<std::string> shown;
            for (const FrameResult& r : results_) {
                const CorpusEntry& e = entries_[r.entry];
                std::istringstream parts(e.content);
                for (std::string part; std::getline(parts, part, '+');) {
                    if (e.corpus == corpus &&
                        std::find(shown.begin(), shown.end(), part) == shown.end()) {
                        shown.push_back(part);
                    }
                }
            }
            std::sort(shown.begin(), shown.end());
            out << "Frames by what they show (a frame may show several things): those read as "
                   "something through `pdf417::read` and through `Barcode2DScanner`.\n\n";
            out << "| Shows | Frames | Read as something | Barcode2DScanner |\n"
                   "|---|---:|---:|---:|\n";
            for (const std::string& part : shown) {
                std::size_t frames = 0, falseReads = 0, specified = 0;
                for (const FrameResult& r : results_) {
                    const CorpusEntry& e = entries_[r.entry];
                    if (e.corpus != corpus ||
                        ("+" + e.content + "+").find("+" + part + "+") == std::string::npos) {
                        continue;
                    }
                    ++frames;
                    falseReads += r.read.outcome == Outcome::FalseRead ? 1 : 0;
                    specified += r.specified.outcome == Outcome::FalseRead ? 1 : 0;
                }
                out << "| " << part << " | " << frames << " | " << falseReads << " | " << specified
                    << " |\n";
            }
            out << "\n";
            continue;
        }
        out << "Frames with a symbol only; factors are drawn independently, so each table mixes "
               "all the others. Read rates through `pdf417::read` and through `Barcode2DScanner`."
               "\n\n";
        for (const Factor& factor : list) {
            if (!appliesTo(factor.corpora, corpus)) {
                continue;
            }
            const std::vector<Tally> sums = tallies(factor, corpus, entries_, results_);
            out << "### " << factor.name
                << "\n\n| Bucket | Frames | Read | Wrong | Read rate | Barcode2DScanner |\n"
                   "|---|---:|---:|---:|---:|---:|\n";
            for (std::size_t b = 0; b < factor.labels.size(); ++b) {
                const Tally& t = sums[b];
                if (t.frames == 0) {
                    continue;
                }
                out << "| " << factor.labels[b] << " | " << t.frames << " | " << t.read << " | "
                    << t.wrong << " | " << percent(t.read, t.frames) << " | "
                    << percent(t.specifiedRead, t.frames) << " |\n";
            }
            out << "\n";
            if (!factor.plot.empty() && appliesTo(factor.plotted, corpus)) {
                out << "![" << factor.name << "](" << plotFile(corpus, factor.plot) << ")\n\n";
            }
        }
    }
    out.flush();
    return static_cast<bool>(out);
}

bool ReadRateReport::writeFrames(const std::string& path) const {
    std::ofstream out(path, std::ios::binary);
    if (!out) {
        return false;
    }
    out << "corpus\timage\toutcome\tchain\tread_ms\tfast_outcome\tfast_ms\tscanner_outcome\t"
           "scanner_ms\treached\tdetect_ms\tcut_ms\tsample_ms\tcorrect_ms\tdecode_ms\t"
           "expected_bytes\tread_bytes\tscanner_bytes\tfeature\tcause\n";
    char line[768];
    for (const FrameResult& r : results_) {
        const CorpusEntry& e = entries_[r.entry];
        std::snprintf(
            line, sizeof line,
            "%s\t%s\t%s\t%s\t%.3f\t%s\t%.3f\t%s\t%.3f\t%s\t%.3f\t%.3f\t%.3f\t%.3f\t%.3f\t%d"
            "\t%zu\t%zu\t%s\t%s\n",
            e.corpus.c_str(), e.image.c_str(), outcomeName(r.read.outcome),
            chainName(r.chain).c_str(), r.read.ms, outcomeName(r.fast.outcome), r.fast.ms,
            outcomeName(r.specified.outcome), r.specified.ms, describe(r.reached), r.stages.detect,
            r.stages.cut, r.stages.sample, r.stages.correct, r.stages.decode, e.messageLength,
            r.read.gotLength, r.specified.gotLength, DesignedMisread::name(r.feature),
            DesignedMisread::name(r.cause));
        out << line;
    }
    out.flush();
    return static_cast<bool>(out);
}

bool ReadRateReport::writePlots(const std::string& dir, bool runGnuplot, std::string& error) const {
    std::ostringstream script;
    script << "set terminal pngcairo size 800,480 font 'sans,10'\n"
              "set style data histograms\n"
              "set style histogram clustered gap 1\n"
              "set style fill solid 0.7 border -1\n"
              "set yrange [0:110]\n"
              "set ylabel 'read rate (%)'\n"
              "set grid ytics\n"
              "set key top left\n"
              "set xtics font ',9'\n";
    for (const std::string& corpus : corpusNames()) {
        for (const Factor& factor : factors()) {
            if (factor.plot.empty() || !appliesTo(factor.plotted, corpus)) {
                continue;
            }
            const std::vector<Tally> sums = tallies(factor, corpus, entries_, results_);
            const std::string data = dir + "/readrate-" + corpus + "-" + factor.plot + ".dat";
            std::ofstream out(data, std::ios::binary);
            out << "# bucket\tframes\tread_rate\tscanner_read_rate\n";
            for (std::size_t b = 0; b < sums.size(); ++b) {
                out << '"' << factor.labels[b] << " (" << sums[b].frames << ")\"\t"
                    << sums[b].frames << '\t' << sums[b].rate() << '\t' << sums[b].specifiedRate()
                    << '\n';
            }
            if (!out) {
                error = "cannot write " + data;
                return false;
            }
            std::string axis = factor.axis;
            std::replace(axis.begin(), axis.end(), '\'', ' ');
            script << "set output " << gnuplotQuoted(dir + "/" + plotFile(corpus, factor.plot))
                   << "\nset xlabel '" << axis << " (frames in the bucket)'\n"
                   << "set title '" << corpus << ": read rate by " << axis << "'\n"
                   << "plot " << gnuplotQuoted(data)
                   << " using 3:xtic(1) title 'pdf417::read' lc rgb '#4a7ebb', '' using 4 title "
                      "'Barcode2DScanner' lc rgb '#bbbbbb'\n";
        }
    }

    // Frame times through read(), stacked by outcome, in bins of a round width.
    double longest = 0.0;
    for (const FrameResult& r : results_) {
        longest = std::max(longest, r.read.ms);
    }
    double width = 0.1;
    for (const double step : {0.1, 0.2, 0.5, 1.0, 2.0, 5.0, 10.0, 20.0, 50.0, 100.0}) {
        width = step;
        if (longest / step <= 50.0) {
            break;
        }
    }
    const std::size_t bins = static_cast<std::size_t>(longest / width) + 1;
    std::vector<std::array<std::size_t, 3>> counts(bins, {0, 0, 0});
    for (const FrameResult& r : results_) {
        const double slot = r.read.ms / width;
        const std::size_t bin = std::isfinite(slot) && slot >= 0.0
                                    ? std::min(static_cast<std::size_t>(slot), bins - 1)
                                    : bins - 1;
        const Outcome o = r.read.outcome;
        const std::size_t kind = o == Outcome::Read                                 ? 0
                                 : (o == Outcome::Empty || o == Outcome::FalseRead) ? 2
                                                                                    : 1;
        ++counts[bin][kind];
    }
    const std::string data = dir + "/frame-times.dat";
    std::ofstream out(data, std::ios::binary);
    out << "# bin_start_ms\tread\tmissed_or_wrong\tno_symbol\n";
    for (std::size_t b = 0; b < bins; ++b) {
        out << b * width << '\t' << counts[b][0] << '\t' << counts[b][1] << '\t' << counts[b][2]
            << '\n';
    }
    if (!out) {
        error = "cannot write " + data;
        return false;
    }
    out.close();
    script << "set output " << gnuplotQuoted(dir + "/" + PLOT_TIMES) << "\n"
           << "set style data boxes\nset style fill solid 0.6 border -1\n"
           << "set title 'Frame time of pdf417::read, all corpora (stacked by outcome)'\n"
           << "set xlabel 'milliseconds per frame'\n"
           << "set ylabel 'frames'\n"
           << "set autoscale y\nset yrange [0:*]\nset xrange [0:*]\nset key top right\n"
           << "set boxwidth " << width << " absolute\n"
           << "plot " << gnuplotQuoted(data) << " using ($1+" << width / 2
           << "):($2+$3+$4) with boxes lc rgb '#999999' title 'no symbol', '' using ($1+"
           << width / 2 << "):($2+$3) with boxes lc rgb '#d9534f' title 'missed or wrong', '' "
           << "using ($1+" << width / 2 << "):2 with boxes lc rgb '#4a7ebb' title 'read'\n";

    const std::string scriptPath = dir + "/plots.gp";
    std::ofstream gp(scriptPath, std::ios::binary);
    gp << script.str();
    gp.close();
    if (!gp) {
        error = "cannot write " + scriptPath;
        return false;
    }
    if (runGnuplot) {
        const std::string command = "gnuplot " + shellQuoted(scriptPath);
        if (std::system(command.c_str()) != 0) {
            error = "gnuplot failed on " + scriptPath;
            return false;
        }
    }
    return true;
}

} // namespace bench
} // namespace pdf417
