#include "tests/support/Pdf417Codewords.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#ifndef PDF417SCAN_SOURCE_DIR
#error "PDF417SCAN_SOURCE_DIR must name the repository root"
#endif

namespace pdf417 {
namespace test {
namespace {

std::vector<CodewordPattern> load() {
    std::vector<CodewordPattern> patterns;
    std::ifstream in(std::string(PDF417SCAN_SOURCE_DIR) + "/data/pdf417-codewords.tsv");
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') {
            continue;
        }
        std::istringstream fields(line);
        CodewordPattern p;
        fields >> p.cluster >> p.value;
        for (int& w : p.widths) {
            fields >> w;
        }
        if (!fields) {
            return {};
        }
        patterns.push_back(p);
    }
    return patterns;
}

// Key of a pattern in one cluster: its eight widths packed in hex digits.
std::uint32_t widthKey(const std::array<int, 8>& widths) {
    std::uint32_t key = 0;
    for (int w : widths) {
        key = key << 4 | static_cast<std::uint32_t>(w & 0xF);
    }
    return key;
}

// Where a symbol column's 17 modules start in libzint's rows: after the
// 17-module start pattern.
int codewordStartModule(int column) {
    return 17 + 17 * column;
}

// The eight element widths of 17 module bits, bar first; false if they do
// not form exactly four bars and four spaces.
bool elementWidths(const std::uint8_t* modules, std::array<int, 8>& widths) {
    widths.fill(0);
    std::size_t element = 0;
    for (int i = 0; i < 17; ++i) {
        const bool bar = modules[i] != 0;
        if (bar != (element % 2 == 0)) {
            if (++element == widths.size()) {
                return false;
            }
        }
        ++widths[element];
    }
    return element == widths.size() - 1;
}

} // namespace

const std::vector<CodewordPattern>& codewordPatterns() {
    static const std::vector<CodewordPattern> patterns = load();
    return patterns;
}

std::vector<std::uint8_t> patternModules(const std::array<int, 8>& widths) {
    std::vector<std::uint8_t> modules;
    for (std::size_t i = 0; i < widths.size(); ++i) {
        modules.insert(modules.end(), static_cast<std::size_t>(widths[i]), i % 2 == 0 ? 1 : 0);
    }
    return modules;
}

std::vector<std::vector<int>> symbolCodewords(const Pdf417Modules& symbol) {
    using PatternMap = std::map<std::uint32_t, int>;
    static const std::array<PatternMap, 3> byPattern = [] {
        std::array<PatternMap, 3> maps;
        for (const CodewordPattern& p : codewordPatterns()) {
            maps[static_cast<std::size_t>(p.cluster / 3)][widthKey(p.widths)] = p.value;
        }
        return maps;
    }();
    std::vector<std::vector<int>> values(static_cast<std::size_t>(symbol.rows));
    for (int row = 0; row < symbol.rows; ++row) {
        const PatternMap& map = byPattern[static_cast<std::size_t>(row % 3)];
        for (int column = 0; column < symbol.dataColumns + 2; ++column) {
            std::array<int, 8> widths{};
            const std::uint8_t* modules =
                symbol.modules[static_cast<std::size_t>(row)].data() + codewordStartModule(column);
            const auto found =
                elementWidths(modules, widths) ? map.find(widthKey(widths)) : map.end();
            values[static_cast<std::size_t>(row)].push_back(found == map.end() ? -1
                                                                               : found->second);
        }
    }
    return values;
}

bool drawCodeword(Pdf417Modules& symbol, int row, int column, int value) {
    if (row < 0 || row >= symbol.rows || column < 0 || column > symbol.dataColumns + 1) {
        return false;
    }
    std::vector<std::uint8_t> modules(17, 0);
    if (value >= 0 && value <= 928) {
        const auto& patterns = codewordPatterns();
        const int cluster = 3 * (row % 3);
        const auto found = std::find_if(patterns.begin(), patterns.end(), [&](const auto& p) {
            return p.cluster == cluster && p.value == value;
        });
        if (found == patterns.end()) {
            return false;
        }
        modules = patternModules(found->widths);
    }
    auto& line = symbol.modules[static_cast<std::size_t>(row)];
    std::copy(modules.begin(), modules.end(), line.begin() + codewordStartModule(column));
    return true;
}

std::vector<unsigned short> symbolDataCodewords(const Pdf417Modules& symbol, int ecLevel) {
    std::vector<unsigned short> words;
    for (const auto& row : symbolCodewords(symbol)) {
        for (std::size_t column = 1; column + 1 < row.size(); ++column) {
            if (row[column] < 0) {
                return {};
            }
            words.push_back(static_cast<unsigned short>(row[column]));
        }
    }
    const std::size_t ecCount = std::size_t{2} << ecLevel;
    words.resize(words.size() > ecCount ? words.size() - ecCount : 0);
    return words;
}

} // namespace test
} // namespace pdf417
