// Turns the codeword pattern table (data/pdf417-codewords.tsv: cluster, value,
// eight element widths per line) into the sorted key/code arrays that the
// codeword recogniser searches, written as a C++ fragment. The output is
// committed, so that cross-compiled builds never need to run this program;
// a test regenerates it and compares.
//
// Usage: gen_codeword_tables <patterns.tsv> <output.inc>
//
// Refuses (exit status 1, message on stderr) any table that the recogniser
// could not rely on: a pattern that is not 17 modules wide, a pattern whose
// edge distances give another cluster, two patterns of one cluster with the
// same key, or a cluster whose values are not exactly 0-928.

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr int VALUES = 929;
constexpr int MODULES = 17;
constexpr int CLUSTER_NUMBERS[3] = {0, 3, 6};

struct Entry {
    std::uint32_t key = 0;
    std::uint16_t value = 0;
};

class Failure {
public:
    explicit Failure(std::string where) : where_(std::move(where)) {}

    bool report(const std::string& message) const {
        std::cerr << "gen_codeword_tables: error: " << where_ << ": " << message << "\n";
        return false;
    }

private:
    std::string where_;
};

int clusterIndex(int cluster) {
    for (int i = 0; i < 3; ++i) {
        if (CLUSTER_NUMBERS[i] == cluster) {
            return i;
        }
    }
    return -1;
}

// Parses and checks one data line; on success stores its entry in its cluster.
bool addLine(const std::string& line, const Failure& fail,
             std::array<std::vector<Entry>, 3>& clusters) {
    std::istringstream fields(line);
    int cluster = 0;
    int value = 0;
    std::array<int, 8> widths{};
    if (!(fields >> cluster >> value)) {
        return fail.report("expected: cluster value b1 s1 b2 s2 b3 s3 b4 s4");
    }
    for (int& w : widths) {
        if (!(fields >> w)) {
            return fail.report("expected eight element widths");
        }
    }
    std::string extra;
    if (fields >> extra) {
        return fail.report("unexpected text after the eight element widths: " + extra);
    }
    const int index = clusterIndex(cluster);
    if (index < 0) {
        return fail.report("cluster " + std::to_string(cluster) + " is not 0, 3 or 6");
    }
    if (value < 0 || value >= VALUES) {
        return fail.report("value " + std::to_string(value) + " is outside 0-928");
    }
    int sum = 0;
    for (int w : widths) {
        if (w < 1 || w > 6) {
            return fail.report("element width " + std::to_string(w) + " is outside 1-6");
        }
        sum += w;
    }
    if (sum != MODULES) {
        return fail.report("pattern is " + std::to_string(sum) + " modules wide, not 17");
    }
    std::array<int, 6> e{};
    std::uint32_t key = 0;
    for (int i = 0; i < 6; ++i) {
        e[i] = widths[i] + widths[i + 1];
        if (e[i] > 9) {
            // The recogniser measures distances of 2 to 9 modules only.
            return fail.report("edge distance E" + std::to_string(i + 1) + " of value " +
                               std::to_string(value) + " is " + std::to_string(e[i]) +
                               " modules, more than 9");
        }
        key = key << 4 | static_cast<std::uint32_t>(e[i]);
    }
    const int k = (e[0] - e[1] + e[4] - e[5] + 9) % 9;
    if (k != cluster) {
        return fail.report("pattern of value " + std::to_string(value) + " belongs to cluster " +
                           std::to_string(k) + ", not " + std::to_string(cluster));
    }
    clusters[index].push_back({key, static_cast<std::uint16_t>(value)});
    return true;
}

bool checkCluster(std::vector<Entry>& entries, int cluster, const std::string& path) {
    const Failure fail(path + ": cluster " + std::to_string(cluster));
    std::vector<int> seen(VALUES, 0);
    for (const Entry& entry : entries) {
        if (++seen[entry.value] > 1) {
            return fail.report("value " + std::to_string(entry.value) + " appears twice");
        }
    }
    for (int v = 0; v < VALUES; ++v) {
        if (seen[v] == 0) {
            return fail.report("value " + std::to_string(v) + " is missing");
        }
    }
    std::sort(entries.begin(), entries.end(),
              [](const Entry& a, const Entry& b) { return a.key < b.key; });
    for (std::size_t i = 1; i < entries.size(); ++i) {
        if (entries[i].key == entries[i - 1].key) {
            char hex[16];
            std::snprintf(hex, sizeof hex, "0x%06X", static_cast<unsigned>(entries[i].key));
            return fail.report("values " + std::to_string(entries[i - 1].value) + " and " +
                               std::to_string(entries[i].value) + " share the key " + hex);
        }
    }
    return true;
}

void writeArray(std::ostream& out, const char* type, const std::string& name,
                const std::vector<Entry>& entries, bool keys) {
    out << "constexpr " << type << " " << name << "[" << VALUES << "] = {";
    const std::size_t perLine = keys ? 8 : 16;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        out << (i % perLine == 0 ? "\n   " : "");
        char item[16];
        if (keys) {
            std::snprintf(item, sizeof item, " 0x%06X,", static_cast<unsigned>(entries[i].key));
        } else {
            std::snprintf(item, sizeof item, " %3u,", static_cast<unsigned>(entries[i].value));
        }
        out << item;
    }
    out << "\n};\n";
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: gen_codeword_tables <patterns.tsv> <output.inc>\n";
        return 2;
    }
    const std::string inputPath = argv[1];
    std::ifstream input(inputPath);
    if (!input) {
        std::cerr << "gen_codeword_tables: error: cannot read " << inputPath << "\n";
        return 1;
    }
    std::array<std::vector<Entry>, 3> clusters;
    std::string line;
    for (int number = 1; std::getline(input, line); ++number) {
        if (line.empty() || line[0] == '#') {
            continue;
        }
        if (!addLine(line, Failure(inputPath + ":" + std::to_string(number)), clusters)) {
            return 1;
        }
    }
    for (int i = 0; i < 3; ++i) {
        if (!checkCluster(clusters[i], CLUSTER_NUMBERS[i], inputPath)) {
            return 1;
        }
    }

    std::ostringstream out;
    out << "// Generated by tools/gentables/GenCodewordTables.cpp from\n"
           "// data/pdf417-codewords.tsv. Do not edit: change the data and build the\n"
           "// target regenerate_codeword_tables.\n"
           "//\n"
           "// Per cluster, the 929 pattern keys in ascending order and, at the same\n"
           "// index, the codeword value of that pattern. A key holds the six\n"
           "// edge-to-similar-edge distances E1..E6 in modules, one per hex digit, E1\n"
           "// in the highest.\n";
    for (int i = 0; i < 3; ++i) {
        const std::string prefix = "cluster_" + std::to_string(i + 1);
        out << "\n// PDF417 cluster " << CLUSTER_NUMBERS[i] << ".\n";
        writeArray(out, "std::uint32_t", prefix + "_keys", clusters[i], true);
        writeArray(out, "std::uint16_t", prefix + "_codes", clusters[i], false);
    }

    const std::string outputPath = argv[2];
    std::ofstream output(outputPath, std::ios::binary | std::ios::trunc);
    output << out.str();
    output.close();
    if (!output) {
        std::cerr << "gen_codeword_tables: error: cannot write " << outputPath << "\n";
        return 1;
    }
    return 0;
}
