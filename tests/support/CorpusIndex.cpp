#include "tests/support/CorpusIndex.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <sstream>
#include <type_traits>
#include <variant>

namespace pdf417 {
namespace test {

namespace {

using Member = std::variant<std::string CorpusEntry::*, int CorpusEntry::*, double CorpusEntry::*,
                            bool CorpusEntry::*>;

struct Field {
    const char* name;
    Member member;
};

// Column order of the file.
const Field FIELDS[] = {
    {"image", &CorpusEntry::image},
    {"message", &CorpusEntry::message},
    {"expect", &CorpusEntry::expect},
    {"corpus", &CorpusEntry::corpus},
    {"content", &CorpusEntry::content},
    {"damage", &CorpusEntry::damage},
    {"cut_side", &CorpusEntry::cutSide},
    {"width", &CorpusEntry::width},
    {"height", &CorpusEntry::height},
    {"message_length", &CorpusEntry::messageLength},
    {"columns", &CorpusEntry::columns},
    {"rows", &CorpusEntry::rows},
    {"level", &CorpusEntry::level},
    {"module_px", &CorpusEntry::modulePx},
    {"row_height", &CorpusEntry::rowHeight},
    {"rotation", &CorpusEntry::rotation},
    {"turn", &CorpusEntry::turn},
    {"perspective", &CorpusEntry::perspective},
    {"blur_px", &CorpusEntry::blurPx},
    {"blur_modules", &CorpusEntry::blurModules},
    {"noise", &CorpusEntry::noise},
    {"ink", &CorpusEntry::ink},
    {"paper", &CorpusEntry::paper},
    {"gradient_x", &CorpusEntry::gradientX},
    {"gradient_y", &CorpusEntry::gradientY},
    {"vignette", &CorpusEntry::vignette},
    {"jpeg", &CorpusEntry::jpegQuality},
    {"fits", &CorpusEntry::fits},
    {"mirrored", &CorpusEntry::mirrored},
    {"side_ratio", &CorpusEntry::sideRatio},
    {"quiet_zone", &CorpusEntry::quietZone},
    {"background", &CorpusEntry::background},
    {"pixel_aligned", &CorpusEntry::pixelAligned},
    {"damage_amount", &CorpusEntry::damageAmount},
    {"cut_modules", &CorpusEntry::cutModules},
    {"hit_codewords", &CorpusEntry::hitCodewords},
    {"check_codewords", &CorpusEntry::checkCodewords},
    {"eci", &CorpusEntry::eci},
    {"macro", &CorpusEntry::macro},
};

constexpr std::size_t FIELD_COUNT = sizeof(FIELDS) / sizeof(FIELDS[0]);

std::string format(const CorpusEntry& entry, const Member& member) {
    return std::visit(
        [&](auto m) -> std::string {
            using T = std::decay_t<decltype(entry.*m)>;
            if constexpr (std::is_same_v<T, std::string>) {
                return entry.*m;
            } else if constexpr (std::is_same_v<T, double>) {
                char text[64];
                std::snprintf(text, sizeof text, "%.4f", entry.*m);
                return text;
            } else {
                return std::to_string(static_cast<int>(entry.*m)); // bool: 0 or 1
            }
        },
        member);
}

// Numbers must fill their field and be finite; whole numbers fit their type
// (0 or 1 for a bool).
bool parse(const std::string& text, CorpusEntry& entry, const Member& member) {
    return std::visit(
        [&](auto m) {
            using T = std::decay_t<decltype(entry.*m)>;
            char* end = nullptr;
            if constexpr (std::is_same_v<T, std::string>) {
                entry.*m = text;
            } else if constexpr (std::is_same_v<T, double>) {
                const double value = std::strtod(text.c_str(), &end);
                if (text.empty() || *end != '\0' || !std::isfinite(value)) {
                    return false;
                }
                entry.*m = value;
            } else {
                constexpr bool flag = std::is_same_v<T, bool>;
                errno = 0;
                const long value = std::strtol(text.c_str(), &end, 10);
                if (text.empty() || errno != 0 || *end != '\0' ||
                    value < (flag ? 0 : std::numeric_limits<int>::min()) ||
                    value > (flag ? 1 : std::numeric_limits<int>::max())) {
                    return false;
                }
                entry.*m = static_cast<T>(value);
            }
            return true;
        },
        member);
}

} // namespace

std::string CorpusIndex::header() {
    std::string line;
    for (std::size_t i = 0; i < FIELD_COUNT; ++i) {
        line += i == 0 ? "" : "\t";
        line += FIELDS[i].name;
    }
    return line;
}

std::string CorpusIndex::formatRow(const CorpusEntry& entry) {
    std::string line;
    for (std::size_t i = 0; i < FIELD_COUNT; ++i) {
        line += i == 0 ? "" : "\t";
        line += format(entry, FIELDS[i].member);
    }
    return line;
}

bool CorpusIndex::parseRow(const std::string& line, CorpusEntry& entry) {
    CorpusEntry parsed;
    std::size_t start = 0;
    for (std::size_t i = 0; i < FIELD_COUNT; ++i) {
        const std::size_t tab = line.find('\t', start);
        const bool last = i + 1 == FIELD_COUNT;
        // The last field runs to the end of the line; any other needs its tab.
        if (last != (tab == std::string::npos)) {
            return false;
        }
        const std::string text = line.substr(start, last ? std::string::npos : tab - start);
        if (text.find_first_of("\r\n") != std::string::npos ||
            !parse(text, parsed, FIELDS[i].member)) {
            return false;
        }
        start = tab + 1;
    }
    entry = parsed;
    return true;
}

bool CorpusIndex::write(const std::string& path, const std::vector<CorpusEntry>& entries,
                        const std::string& comment) {
    std::ofstream out(path, std::ios::binary);
    if (!out) {
        return false;
    }
    std::istringstream comments(comment);
    for (std::string line; std::getline(comments, line);) {
        out << "# " << line << '\n';
    }
    out << header() << '\n';
    for (const CorpusEntry& entry : entries) {
        out << formatRow(entry) << '\n';
    }
    out.flush();
    return static_cast<bool>(out);
}

bool CorpusIndex::read(const std::string& path, std::vector<CorpusEntry>& entries,
                       std::string& error) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        error = "cannot open " + path;
        return false;
    }
    std::vector<CorpusEntry> parsed;
    bool sawHeader = false;
    std::size_t number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        if (line.empty() || line[0] == '#') {
            continue;
        }
        if (!sawHeader) {
            if (line != header()) {
                error = path + ":" + std::to_string(number) + ": not the expected header";
                return false;
            }
            sawHeader = true;
            continue;
        }
        CorpusEntry entry;
        if (!parseRow(line, entry)) {
            error = path + ":" + std::to_string(number) + ": malformed row";
            return false;
        }
        parsed.push_back(entry);
    }
    if (!sawHeader) {
        error = path + ": no header row";
        return false;
    }
    entries.swap(parsed);
    return true;
}

} // namespace test
} // namespace pdf417
