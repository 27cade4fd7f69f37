#pragma once

#include "tests/tools/ChildProcess.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace pdf417 {
namespace test {

// The scanner binary and the bundled samples, as the build placed them.
inline std::string scannerPath() {
    return PDF417SCAN_CLI;
}
inline std::filesystem::path samplesDir() {
    return PDF417SCAN_SAMPLES_DIR;
}

// Runs the scanner with `args`, feeding `input` on standard input.
inline ChildProcess::Result runScanner(const std::vector<std::string>& args,
                                       const std::string& input = "", bool errToTerminal = false) {
    std::vector<std::string> argv{scannerPath()};
    argv.insert(argv.end(), args.begin(), args.end());
    return ChildProcess::run(argv, input, errToTerminal);
}

// A fresh directory for one test's files, removed with everything in it.
class ScratchDir {
public:
    ScratchDir() {
        std::string pattern = (std::filesystem::temp_directory_path() / "pdf417scan-XXXXXX");
        if (::mkdtemp(pattern.data()) != nullptr) {
            path_ = pattern;
        }
    }
    ~ScratchDir() {
        std::error_code ignored;
        if (!path_.empty()) {
            std::filesystem::remove_all(path_, ignored);
        }
    }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    bool ok() const { return !path_.empty(); }
    std::string file(const std::string& name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

inline bool writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return static_cast<bool>(out);
}

inline std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

} // namespace test
} // namespace pdf417
