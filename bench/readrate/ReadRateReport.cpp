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

constexpr double INF = std::numeric_limits<double>::infinity();

// One way of splitting the frames with a symbol: a label per bucket and the
// bucket of an entry (-1: none).
struct Factor {
    std::string name;
    std::vector<std::string> labels;
    std::function<int(const CorpusEntry&)> bucket;
};

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

// Buckets [edges[i], edges[i + 1]); the first and last edges may be open.
Factor numeric(std::string name, std::vector<double> edges,
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
    return Factor{std::move(name), std::move(labels), bucket};
}

Factor categorical(std::string name, std::vector<std::string> labels,
                   std::function<std::string(const CorpusEntry&)> value) {
    auto bucket = [labels, value](const CorpusEntry& e) {
        const auto it = std::find(labels.begin(), labels.end(), value(e));
        return it == labels.end() ? -1 : static_cast<int>(it - labels.begin());
    };
    return Factor{std::move(name), std::move(labels), bucket};
}

double lightingSpread(const CorpusEntry& e) {
    return std::max({std::fabs(e.gradientX), std::fabs(e.gradientY), e.vignette});
}

std::vector<Factor> factors() {
    std::vector<Factor> list;
    list.push_back(numeric("Module size (pixels)", {0, 1.5, 2, 2.5, 3, 4, 5, 6.5, INF},
                           [](const CorpusEntry& e) { return e.modulePx; }));
    list.push_back(numeric("Rotation beyond the turn (degrees, either way)",
                           {0, 1, 2, 3, 5, 7.5, INF},
                           [](const CorpusEntry& e) { return std::fabs(e.rotation); }));
    list.push_back(numeric("Blur (Gaussian sigma, modules)", {0, 0.1, 0.2, 0.3, 0.4, INF},
                           [](const CorpusEntry& e) { return e.blurModules; }));
    list.push_back(numeric("Noise (sigma, gray levels)", {0, 3, 6, 9, INF},
                           [](const CorpusEntry& e) { return e.noise; }));
    list.push_back(categorical("Right-angle turn (clockwise)", {"0°", "90°", "180°", "270°"},
                               [](const CorpusEntry& e) { return std::to_string(e.turn) + "°"; }));
    list.push_back(numeric("Data columns", {1, 3, 6, 11, 16, INF},
                           [](const CorpusEntry& e) { return e.columns; },
                           {"1–2", "3–5", "6–10", "11–15", "16–20"}));
    list.push_back(numeric("Symbol rows", {3, 4, 6, 11, 31, INF},
                           [](const CorpusEntry& e) { return e.rows; },
                           {"3", "4–5", "6–10", "11–30", "31–90"}));
    list.push_back(numeric("Symbol height (pixels: rows × row height × module)",
                           {0, 50, 100, 200, 400, INF},
                           [](const CorpusEntry& e) { return e.rows * e.rowHeight * e.modulePx; }));
    list.push_back(categorical("Error correction level", {"2", "3", "4", "5"},
                               [](const CorpusEntry& e) { return std::to_string(e.level); }));
    list.push_back(categorical("Content", {"short-text", "long-text", "digits", "bytes", "licence"},
                               [](const CorpusEntry& e) { return e.content; }));
    list.push_back(categorical("JPEG quality", {"none", "90", "70"}, [](const CorpusEntry& e) {
        return e.jpegQuality == 0 ? std::string("none") : std::to_string(e.jpegQuality);
    }));
    list.push_back(numeric("Perspective (largest corner shift, share of the symbol)",
                           {0, 1e-9, 0.02, 0.04, 0.06, INF},
                           [](const CorpusEntry& e) { return e.perspective; },
                           {"none", "< 2 %", "2–4 %", "4–6 %", "6–8 %"}));
    list.push_back(numeric("Ink contrast (paper − ink, gray levels)", {0, 80, 120, 160, INF},
                           [](const CorpusEntry& e) { return e.paper - e.ink; }));
    list.push_back(numeric("Uneven lighting (largest gradient or vignette)",
                           {0, 1e-9, 0.1, 0.2, INF}, lightingSpread,
                           {"even", "< 0.1", "0.1–0.2", "≥ 0.2"}));
    list.push_back(numeric("Row height (modules)", {3, 3.5, 4, 4.5, INF},
                           [](const CorpusEntry& e) { return e.rowHeight; }));
    list.push_back(categorical("Frame size", {"1280×720", "1920×1080"}, [](const CorpusEntry& e) {
        return std::to_string(e.width) + "×" + std::to_string(e.height);
    }));
    return list;
}

struct Tally {
    std::size_t frames = 0;
    std::size_t read = 0;
    std::size_t missed = 0;
    std::size_t wrong = 0;
    std::size_t shiftRule = 0; // of the wrong reads

    double rate() const { return frames == 0 ? 0.0 : 100.0 * read / frames; }
};

// Every factor's bucket of every result (-1: no symbol, or outside the
// buckets), and the tallies they add up to.
struct Breakdown {
    std::vector<Factor> factors;
    std::vector<std::vector<int>> buckets; // [factor][result]
    std::vector<std::vector<Tally>> tallies;

    Breakdown(const std::vector<CorpusEntry>& entries, const std::vector<FrameResult>& results)
        : factors(bench::factors()) {
        for (const Factor& factor : factors) {
            std::vector<int> of(results.size(), -1);
            std::vector<Tally> sums(factor.labels.size());
            for (std::size_t i = 0; i < results.size(); ++i) {
                const FrameResult& r = results[i];
                const CorpusEntry& e = entries[r.entry];
                if (!e.hasSymbol()) {
                    continue;
                }
                of[i] = factor.bucket(e);
                if (of[i] < 0) {
                    continue;
                }
                Tally& t = sums[static_cast<std::size_t>(of[i])];
                ++t.frames;
                t.read += r.outcome == Outcome::Read ? 1 : 0;
                t.missed += r.outcome == Outcome::Missed ? 1 : 0;
                t.wrong += r.outcome == Outcome::Wrong ? 1 : 0;
                t.shiftRule += r.outcome == Outcome::Wrong && r.shiftRule ? 1 : 0;
            }
            buckets.push_back(std::move(of));
            tallies.push_back(std::move(sums));
        }
    }

    // The lowest read rate among the buckets result i falls in, leaving out
    // factor `skip`: how hard the rest of the frame's conditions are.
    double otherConditions(std::size_t i, std::size_t skip) const {
        double lowest = 100.0;
        for (std::size_t f = 0; f < factors.size(); ++f) {
            const int b = buckets[f][i];
            if (f != skip && b >= 0) {
                lowest = std::min(lowest, tallies[f][static_cast<std::size_t>(b)].rate());
            }
        }
        return lowest;
    }
};

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

// A wrong-read count, with those of the deliberate byte-shift rule marked.
std::string wrongCell(std::size_t wrong, std::size_t shiftRule) {
    std::string cell = std::to_string(wrong);
    if (shiftRule > 0) {
        cell += " (" + std::to_string(shiftRule) + " †)";
    }
    return cell;
}

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

std::string factorsOf(const CorpusEntry& e) {
    char text[512];
    std::snprintf(text, sizeof text,
                  "%s, %d chars, %d columns × %d rows, level %d, module %.2f px, row height %.1f, "
                  "rotation %.1f°, turn %d°, perspective %.1f %%, blur %.2f modules, noise %.1f, "
                  "ink %.0f on paper %.0f, lighting %.2f, JPEG %s",
                  e.content.c_str(), e.messageLength, e.columns, e.rows, e.level, e.modulePx,
                  e.rowHeight, e.rotation, e.turn, 100.0 * e.perspective, e.blurModules, e.noise,
                  e.ink, e.paper, lightingSpread(e),
                  e.jpegQuality == 0 ? "none" : std::to_string(e.jpegQuality).c_str());
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

} // namespace

ReadRateReport::ReadRateReport(std::vector<test::CorpusEntry> entries,
                               std::vector<FrameResult> results, RunInfo info)
    : entries_(std::move(entries)), results_(std::move(results)), info_(std::move(info)) {}

std::size_t ReadRateReport::count(Outcome outcome) const {
    return static_cast<std::size_t>(
        std::count_if(results_.begin(), results_.end(),
                      [&](const FrameResult& r) { return r.outcome == outcome; }));
}

std::size_t ReadRateReport::shiftRuleCount() const {
    return static_cast<std::size_t>(
        std::count_if(results_.begin(), results_.end(), [](const FrameResult& r) {
            return r.outcome == Outcome::Wrong && r.shiftRule;
        }));
}

std::string ReadRateReport::summary() const {
    const std::size_t read = count(Outcome::Read);
    const std::size_t symbols = read + count(Outcome::Missed) + count(Outcome::Wrong);
    std::vector<double> times;
    for (const FrameResult& r : results_) {
        times.push_back(r.scanMs);
    }
    const Spread all = spread(times);
    std::ostringstream out;
    out << "frames " << results_.size() << ", with a symbol " << symbols << ": read " << read
        << " (" << percent(read, symbols) << "), missed " << count(Outcome::Missed) << ", wrong "
        << count(Outcome::Wrong) << " (" << shiftRuleCount() << " by the byte-shift rule)"
        << "; empty frames read as something: " << count(Outcome::FalseRead) << "\n"
        << "frame time median " << ms(all.median) << " ms, p90 " << ms(all.p90) << " ms, max "
        << ms(all.max) << " ms; peak RSS " << info_.peakRssKiB << " KiB\n";
    return out.str();
}

bool ReadRateReport::writeMarkdown(const std::string& path) const {
    std::ofstream out(path, std::ios::binary);
    if (!out) {
        return false;
    }
    const std::size_t read = count(Outcome::Read);
    const std::size_t missed = count(Outcome::Missed);
    const std::size_t wrong = count(Outcome::Wrong);
    const std::size_t symbols = read + missed + wrong;
    const std::size_t empties = count(Outcome::Empty) + count(Outcome::FalseRead);

    std::vector<double> readTimes, missedTimes, emptyTimes, wrongTimes, allTimes;
    std::vector<double> t720, t1080;
    for (const FrameResult& r : results_) {
        allTimes.push_back(r.scanMs);
        (entries_[r.entry].width >= 1920 ? t1080 : t720).push_back(r.scanMs);
        switch (r.outcome) {
        case Outcome::Read:
            readTimes.push_back(r.scanMs);
            break;
        case Outcome::Missed:
            missedTimes.push_back(r.scanMs);
            break;
        case Outcome::Wrong:
            wrongTimes.push_back(r.scanMs);
            break;
        case Outcome::Empty:
        case Outcome::FalseRead:
            emptyTimes.push_back(r.scanMs);
            break;
        }
    }
    const Spread all = spread(allTimes);

    out << "# Read rate and speed\n\n";
    out << "Measured by `bench/readrate` over a synthetic camera-frame corpus made by "
           "`tools/synth/synth` (libzint symbols rendered with blur, noise, lighting, "
           "perspective and JPEG artefacts; one frame in twenty shows no symbol). ";
    out << "Every frame is read with `Barcode2DScanner::scanGrayscaleImage`, upright and, "
           "when that yields nothing, turned 90 degrees, exactly as a host would call it.\n\n";
    out << "- Corpus: " << info_.corpus << "\n";
    out << "- Build: " << info_.build << "\n";
    out << "- Machine: " << info_.machine << "\n";
    if (!info_.load.empty()) {
        out << "- Load averages (1, 5, 15 minutes): " << info_.load << "\n";
    }
    out << "- Run: " << info_.date << ", " << info_.repeats
        << (info_.repeats == 1 ? " scan" : " scans") << " per frame, the median timed; "
        << ms(info_.wallSeconds) << " s in all\n";
    out << "- Made again by `make bench`, into `build/bench/`.\n\n";

    out << "## Headline\n\n";
    out << "| Measure | Value |\n|---|---|\n";
    out << "| Frames | " << results_.size() << " (" << symbols << " with a symbol, " << empties
        << " without) |\n";
    out << "| Read | " << read << " of " << symbols << " (" << percent(read, symbols) << ") |\n";
    out << "| Missed | " << missed << " (" << percent(missed, symbols) << ") |\n";
    out << "| Wrong reads (a message that differs) | " << wrong << " |\n";
    const std::size_t shiftRule = shiftRuleCount();
    const auto opening = std::count_if(results_.begin(), results_.end(),
                                       [](const FrameResult& fr) { return fr.opensWithShift; });
    out << "| of them by the deliberate byte-shift rule † | " << shiftRule << " (of " << opening
        << " symbols whose data opens with a byte shift) |\n";
    out << "| Frames without a symbol that read as something | " << count(Outcome::FalseRead)
        << " of " << empties << " |\n";
    out << "| Frame time, all frames: median / 90th percentile / max | " << ms(all.median) << " / "
        << ms(all.p90) << " / " << ms(all.max) << " ms |\n";
    const Spread r = spread(readTimes);
    out << "| Frame time, frames read: median / 90th percentile / max | " << ms(r.median) << " / "
        << ms(r.p90) << " / " << ms(r.max) << " ms |\n";
    out << "| Peak resident memory of the whole run | " << ms(info_.peakRssKiB / 1024.0)
        << " MiB |\n";
    out << "| `sizeof(PDF417Reader)` (one per scan, on the heap) | " << info_.readerSize
        << " bytes, of which the vote table " << info_.tableSize << " |\n\n";
    out << "† The decoder skips, on purpose, a byte shift (codeword 913) met outside text, "
           "such as one opening the data, and reads the codeword after it as text. libzint "
           "opens the data that way for a message starting with one byte outside text followed "
           "by text, so such a message comes back altered. A wrong read is put down to this "
           "rule only when decoding the symbol's true codewords gives exactly the bytes read; "
           "it still counts as a wrong read.\n\n";
    if (info_.mirrorMismatches != 0 || info_.unstable != 0) {
        out << "**Warning:** " << info_.mirrorMismatches
            << " frames read differently stage by stage than through the scanner, and "
            << info_.unstable << " frames read differently from one repeat to the next.\n\n";
    }

    out << "## Frame time by outcome\n\n";
    out << "Wall-clock time of one `scanGrayscaleImage` call, including the rotated retry "
           "when the upright reading gives nothing.\n\n";
    out << "| Frames | Count | Median (ms) | 90th percentile (ms) | Max (ms) |\n"
           "|---|---:|---:|---:|---:|\n";
    const std::pair<const char*, const std::vector<double>*> groups[] = {
        {"read", &readTimes},       {"missed", &missedTimes},   {"wrong", &wrongTimes},
        {"no symbol", &emptyTimes}, {"all at 1280×720", &t720}, {"all at 1920×1080", &t1080},
        {"all", &allTimes}};
    for (const auto& group : groups) {
        const Spread s = spread(*group.second);
        if (s.count == 0) {
            continue;
        }
        out << "| " << group.first << " | " << s.count << " | " << ms(s.median) << " | "
            << ms(s.p90) << " | " << ms(s.max) << " |\n";
    }
    out << "\n![Frame times](" << PLOT_TIMES << ")\n\n";

    out << "## Where the time goes\n\n";
    out << "The same frames read again by calling the stages directly, mirroring the reader "
           "step by step (both attempts summed per frame); milliseconds per frame over all "
           "frames.\n\n";
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
    for (const FrameResult& fr : results_) {
        grand += fr.stages.total();
    }
    for (const auto& stage : stages) {
        std::vector<double> values;
        double sum = 0.0;
        for (const FrameResult& fr : results_) {
            values.push_back(fr.stages.*stage.second);
            sum += fr.stages.*stage.second;
        }
        const Spread s = spread(values);
        out << "| " << stage.first << " | " << ms(s.median) << " | " << ms(s.mean) << " | "
            << ms(s.p90) << " | " << ms(s.max) << " | " << share(sum, grand) << " |\n";
    }
    out << "\n";

    out << "## Where frames not read stop\n\n";
    out << "The furthest stage either attempt reached, for frames with a symbol that were "
           "missed or read wrongly; a wrong read got as far as decoding.\n\n";
    out << "| Stopped at | Frames |\n|---|---:|\n";
    for (int k = 0; k < REACHED_COUNT; ++k) {
        const auto reached = static_cast<Reached>(k);
        const auto n = std::count_if(results_.begin(), results_.end(), [&](const FrameResult& fr) {
            return (fr.outcome == Outcome::Missed || fr.outcome == Outcome::Wrong) &&
                   fr.reached == reached;
        });
        if (n > 0) {
            out << "| " << describe(reached) << " | " << n << " |\n";
        }
    }
    out << "\n";

    if (wrong + count(Outcome::FalseRead) > 0) {
        out << "## Wrong reads\n\n| Frame | Expected bytes | Read bytes | Cause | Factors |\n"
               "|---|---:|---:|---|---|\n";
        for (const FrameResult& fr : results_) {
            if (fr.outcome == Outcome::Wrong || fr.outcome == Outcome::FalseRead) {
                const CorpusEntry& e = entries_[fr.entry];
                const char* cause = fr.outcome == Outcome::FalseRead ? "no symbol shown"
                                    : fr.shiftRule                   ? "byte-shift rule †"
                                                                     : "misread";
                out << "| " << e.image << " | " << e.messageLength << " | " << fr.gotLength << " | "
                    << cause << " | " << factorsOf(e) << " |\n";
            }
        }
        out << "\n";
    }

    out << "## Read rate by factor\n\n";
    out << "Frames with a symbol only. Factors are drawn independently, so each table mixes "
           "all the others. Wrong reads marked † are the deliberate byte-shift rule's.\n\n";
    const Breakdown breakdown(entries_, results_);
    for (std::size_t f = 0; f < breakdown.factors.size(); ++f) {
        const Factor& factor = breakdown.factors[f];
        out << "### " << factor.name
            << "\n\n| Bucket | Frames | Read | Missed | Wrong | Read rate |\n"
               "|---|---:|---:|---:|---:|---:|\n";
        for (std::size_t b = 0; b < factor.labels.size(); ++b) {
            const Tally& t = breakdown.tallies[f][b];
            out << "| " << factor.labels[b] << " | " << t.frames << " | " << t.read << " | "
                << t.missed << " | " << wrongCell(t.wrong, t.shiftRule) << " | "
                << percent(t.read, t.frames) << " |\n";
        }
        out << "\n";
        if (factor.name.rfind("Module size", 0) == 0) {
            out << "![Read rate by module size](" << PLOT_MODULE << ")\n\n";
        } else if (factor.name.rfind("Rotation", 0) == 0) {
            out << "![Read rate by rotation](" << PLOT_ROTATION << ")\n\n";
        } else if (factor.name.rfind("Blur", 0) == 0) {
            out << "![Read rate by blur](" << PLOT_BLUR << ")\n\n";
        }
    }

    // What a bucket costs: the reads it would have had at the read rate of
    // all other frames, less those it had. Factors overlap (small modules
    // make short symbols), so the costs do not add up.
    struct Cost {
        std::size_t factor;
        std::size_t bucket;
        double lost;
        std::size_t example; // a result index, or results_.size()
    };
    std::vector<Cost> costs;
    for (std::size_t f = 0; f < breakdown.factors.size(); ++f) {
        for (std::size_t b = 0; b < breakdown.tallies[f].size(); ++b) {
            const Tally& t = breakdown.tallies[f][b];
            if (t.frames < 10 || symbols == t.frames) {
                continue;
            }
            const double restRate =
                static_cast<double>(read - t.read) / static_cast<double>(symbols - t.frames);
            const double lost = restRate * static_cast<double>(t.frames) - t.read;
            if (lost <= 0.0) {
                continue;
            }
            // The example is a frame of the bucket not read whose other
            // conditions read best, so that it shows this condition.
            Cost cost{f, b, lost, results_.size()};
            double best = -1.0;
            for (std::size_t i = 0; i < results_.size(); ++i) {
                if (breakdown.buckets[f][i] != static_cast<int>(b) ||
                    results_[i].outcome == Outcome::Read) {
                    continue;
                }
                const double others = breakdown.otherConditions(i, f);
                if (others > best) {
                    best = others;
                    cost.example = i;
                }
            }
            costs.push_back(cost);
        }
    }
    std::stable_sort(costs.begin(), costs.end(),
                     [](const Cost& x, const Cost& y) { return x.lost > y.lost; });
    out << "## Conditions that cost the most reads\n\n";
    out << "Buckets of at least ten frames, by the reads they lose: the reads they would have "
           "had at the read rate of all other frames, less the reads they had. Factors overlap "
           "(small modules make short symbols), so the losses do not add up. Each comes with a "
           "frame of the bucket that was not read and whose other conditions read best.\n\n";
    out << "| Factor | Bucket | Frames | Read rate | Rest | Reads lost | A frame not read |\n"
           "|---|---|---:|---:|---:|---:|---|\n";
    for (std::size_t k = 0; k < costs.size() && k < 10; ++k) {
        const Cost& c = costs[k];
        const Tally& t = breakdown.tallies[c.factor][c.bucket];
        std::string example = "–";
        if (c.example < results_.size()) {
            const CorpusEntry& e = entries_[results_[c.example].entry];
            example = "`" + e.image + "`: " + factorsOf(e);
        }
        char lost[32];
        std::snprintf(lost, sizeof lost, "%.1f", c.lost);
        out << "| " << breakdown.factors[c.factor].name << " | "
            << breakdown.factors[c.factor].labels[c.bucket] << " | " << t.frames << " | "
            << percent(t.read, t.frames) << " | " << percent(read - t.read, symbols - t.frames)
            << " | " << lost << " | " << example << " |\n";
    }
    out << "\n";
    out.flush();
    return static_cast<bool>(out);
}

bool ReadRateReport::writeFrames(const std::string& path) const {
    std::ofstream out(path, std::ios::binary);
    if (!out) {
        return false;
    }
    out << "image\toutcome\treached\tscan_ms\tdetect_ms\tcut_ms\tsample_ms\tcorrect_ms\tdecode_"
           "ms\texpected_bytes\tread_bytes\topens_with_shift\tshift_rule\n";
    char line[512];
    for (const FrameResult& r : results_) {
        const CorpusEntry& e = entries_[r.entry];
        std::snprintf(
            line, sizeof line, "%s\t%s\t%s\t%.3f\t%.3f\t%.3f\t%.3f\t%.3f\t%.3f\t%d\t%zu\t%d\t%d\n",
            e.image.c_str(), outcomeName(r.outcome), describe(r.reached), r.scanMs, r.stages.detect,
            r.stages.cut, r.stages.sample, r.stages.correct, r.stages.decode, e.messageLength,
            r.gotLength, r.opensWithShift ? 1 : 0, r.shiftRule ? 1 : 0);
        out << line;
    }
    out.flush();
    return static_cast<bool>(out);
}

bool ReadRateReport::writePlots(const std::string& dir, bool runGnuplot, std::string& error) const {
    const Breakdown breakdown(entries_, results_);
    const std::pair<std::size_t, const char*> plotted[] = {
        {0, "module-size"}, {1, "rotation"}, {2, "blur"}};
    std::ostringstream script;
    script << "set terminal pngcairo size 800,480 font 'sans,10'\n"
              "set style fill solid 0.6 border -1\n"
              "set boxwidth 0.7\n"
              "set yrange [0:110]\n"
              "set ylabel 'read rate (%)'\n"
              "set grid ytics\n"
              "unset key\n";
    const char* images[] = {PLOT_MODULE, PLOT_ROTATION, PLOT_BLUR};
    const char* xlabels[] = {"module size (pixels)", "rotation beyond the turn (degrees)",
                             "blur sigma (modules)"};
    for (std::size_t p = 0; p < 3; ++p) {
        const Factor& factor = breakdown.factors[plotted[p].first];
        const std::vector<Tally>& tallies = breakdown.tallies[plotted[p].first];
        const std::string data = dir + "/readrate-" + plotted[p].second + ".dat";
        std::ofstream out(data, std::ios::binary);
        out << "# bucket\tframes\tread_rate\n";
        for (std::size_t b = 0; b < tallies.size(); ++b) {
            out << '"' << factor.labels[b] << "\"\t" << tallies[b].frames << '\t'
                << tallies[b].rate() << '\n';
        }
        if (!out) {
            error = "cannot write " + data;
            return false;
        }
        script << "set output " << gnuplotQuoted(dir + "/" + images[p]) << "\n"
               << "set xlabel '" << xlabels[p] << "'\n"
               << "set title 'Read rate by " << xlabels[p] << " (n = frames in the bucket)'\n"
               << "plot " << gnuplotQuoted(data)
               << " using 0:3:xtic(1) with boxes lc rgb '#4a7ebb', '' using "
                  "0:3:(sprintf('n = %d', $2)) with labels offset 0,0.8\n";
    }

    // Frame times, stacked by outcome, in bins of a round width.
    double longest = 0.0;
    for (const FrameResult& r : results_) {
        longest = std::max(longest, r.scanMs);
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
        const double slot = r.scanMs / width;
        const std::size_t bin = std::isfinite(slot) && slot >= 0.0
                                    ? std::min(static_cast<std::size_t>(slot), bins - 1)
                                    : bins - 1;
        const std::size_t kind = r.outcome == Outcome::Read ? 0
                                 : (r.outcome == Outcome::Empty || r.outcome == Outcome::FalseRead)
                                     ? 2
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
           << "set title 'Frame time of scanGrayscaleImage (stacked by outcome)'\n"
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
