// pdf417scan: reads PDF417 symbols from image files or raw gray frames.
#include "pdf417scan/api/Scan.h"
#include "pdf417scan/imaging/Image.h"
#include "pdf417scan/imaging/ImageRotate90.h"
#include "pdf417scan/reader/PDF417Reader.h"
#include "tools/scanner/FrameLoader.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#ifndef PDF417SCAN_VERSION
#define PDF417SCAN_VERSION "unknown"
#endif

namespace {

using pdf417::cli::Frame;
using pdf417::cli::FrameLoader;

enum ExitCode { kAllRead = 0, kSomeUnread = 1, kBadInput = 2 };

const char* const kUsage =
    "Usage: pdf417scan [options] FILE...\n"
    "Reads the PDF417 barcode in each image and prints its message.\n"
    "\n"
    "Images: PNG, JPEG, BMP, GIF, PGM/PPM and TGA (colour is turned to gray).\n"
    "\n"
    "Options:\n"
    "  --raw WxH     inputs are raw 8-bit gray frames of W x H pixels, several\n"
    "                back to back allowed; FILE '-' reads standard input\n"
    "  --json        one JSON object per line and input: file, ok, text,\n"
    "                bytes (hex), ms, and error for failures\n"
    "  --frames      read the inputs as consecutive frames of one video with one\n"
    "                reader, pooling evidence across frames; prints the first\n"
    "                message read and the frame it came at\n"
    "  --time N      decode each input N times; report median and minimum time\n"
    "                (not with --frames)\n"
    "  -h, --help    show this help\n"
    "  --version     show the version\n"
    "\n"
    "Exit status: 0 every input read, 1 some input held no readable symbol,\n"
    "2 usage error or an input that could not be opened or decoded as an image.\n";

struct Options {
    bool json = false;
    bool frames = false;
    bool raw = false;
    int rawWidth = 0;
    int rawHeight = 0;
    int repeat = 1;
    bool timing = false;
    std::vector<std::string> files;
};

// Set while a progress line stands on standard error, so that a message
// replaces it instead of being glued to its end.
bool progressShown = false;

void fail(const std::string& message) {
    if (progressShown) {
        std::cerr << "\r\033[K";
        progressShown = false;
    }
    std::cerr << "pdf417scan: " << message << "\n";
}

bool parseArguments(int argc, char** argv, Options& options, int& exitCode) {
    bool onlyFiles = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (onlyFiles || arg == "-" || arg.empty() || arg[0] != '-') {
            options.files.push_back(arg);
        } else if (arg == "--") {
            onlyFiles = true;
        } else if (arg == "-h" || arg == "--help") {
            std::cout << kUsage;
            exitCode = kAllRead;
            return false;
        } else if (arg == "--version") {
            std::cout << "pdf417scan " PDF417SCAN_VERSION "\n";
            exitCode = kAllRead;
            return false;
        } else if (arg == "--json") {
            options.json = true;
        } else if (arg == "--frames") {
            options.frames = true;
        } else if (arg == "--raw" || arg == "--time") {
            if (i + 1 >= argc) {
                fail(arg + " needs a value");
                exitCode = kBadInput;
                return false;
            }
            const std::string value = argv[++i];
            if (arg == "--raw") {
                if (!FrameLoader::parseSize(value, options.rawWidth, options.rawHeight)) {
                    fail("--raw wants WIDTHxHEIGHT with positive sizes, not '" + value + "'");
                    exitCode = kBadInput;
                    return false;
                }
                options.raw = true;
            } else {
                char* end = nullptr;
                const long n = std::strtol(value.c_str(), &end, 10);
                if (end == value.c_str() || *end != '\0' || n < 1 || n > 1000000) {
                    fail("--time wants a count from 1 to 1000000, not '" + value + "'");
                    exitCode = kBadInput;
                    return false;
                }
                options.repeat = static_cast<int>(n);
                options.timing = true;
            }
        } else {
            fail("unknown option '" + arg + "' (see --help)");
            exitCode = kBadInput;
            return false;
        }
    }
    if (options.files.empty()) {
        std::cerr << kUsage;
        exitCode = kBadInput;
        return false;
    }
    if (std::count(options.files.begin(), options.files.end(), "-") > 1) {
        fail("standard input can be read only once");
        exitCode = kBadInput;
        return false;
    }
    if (!options.raw && std::count(options.files.begin(), options.files.end(), "-") > 0) {
        fail("standard input is read only with --raw");
        exitCode = kBadInput;
        return false;
    }
    if (options.frames && options.timing) {
        // Repeating a frame on the shared reader would pool its votes with
        // itself, so the times would not be those of one reading.
        fail("--time cannot be combined with --frames");
        exitCode = kBadInput;
        return false;
    }
    return true;
}

std::string jsonString(const std::string& bytes) {
    std::string out = "\"";
    char escaped[8];
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        switch (byte) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            // Control characters and bytes above 127 are escaped as the code
            // points of the same number (Latin-1), so the output is always
            // valid UTF-8; `bytes` carries the exact bytes.
            if (byte < 0x20 || byte >= 0x7F) {
                std::snprintf(escaped, sizeof escaped, "\\u%04x", byte);
                out += escaped;
            } else {
                out += static_cast<char>(byte);
            }
        }
    }
    return out + "\"";
}

std::string hex(const std::string& bytes) {
    static const char digits[] = "0123456789abcdef";
    std::string out;
    out.reserve(bytes.size() * 2);
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        out += digits[byte >> 4];
        out += digits[byte & 15];
    }
    return out;
}

std::string milliseconds(double ms) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", ms);
    return text;
}

struct Timing {
    double median = 0.0;
    double minimum = 0.0;
};

Timing summarize(std::vector<double>& times) {
    std::sort(times.begin(), times.end());
    Timing timing;
    timing.minimum = times.front();
    const std::size_t mid = times.size() / 2;
    timing.median = times.size() % 2 == 1 ? times[mid] : (times[mid - 1] + times[mid]) / 2.0;
    return timing;
}

double elapsedMs(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

class Scanner {
public:
    Scanner(const Options& options, bool prefix) : options_(options), prefix_(prefix) {}

    // Names prefix the messages once more than one input is reported.
    void setPrefix(bool prefix) { prefix_ = prefix; }

    // Reads one frame independently of all others.
    void scan(const Frame& frame) {
        std::vector<double> times;
        pdf417::ScanResult result;
        for (int run = 0; run < options_.repeat; ++run) {
            const auto start = std::chrono::steady_clock::now();
            result =
                pdf417::scan(frame.pixels.data(), frame.pixels.size(), frame.width, frame.height);
            times.push_back(elapsedMs(start));
        }
        const Timing timing = summarize(times);
        if (!result.ok()) {
            sawUnread_ = true;
            fail(frame.name + ": " + pdf417::describe(result.status));
        }
        report(frame.name, result.ok(), result.bytes,
               result.ok() ? "" : pdf417::describe(result.status), timing, -1);
    }

    // Feeds one frame of a video to the shared reader; true once read.
    bool feed(const Frame& frame) {
        ++frameNumber_;
        if (!reader_) {
            reader_ = std::make_unique<pdf417::PDF417Reader>();
        }
        // The reader never writes pixels.
        pdf417::Image image(const_cast<unsigned char*>(frame.pixels.data()),
                            static_cast<unsigned>(frame.width),
                            static_cast<unsigned>(frame.height));
        std::vector<unsigned char> bytes;
        const auto start = std::chrono::steady_clock::now();
        reader_->decode(image, bytes);
        if (bytes.empty()) {
            pdf417::ImageRotate90 rotated(image);
            reader_->decode(rotated, bytes);
        }
        const double ms = elapsedMs(start);
        fedMs_ += ms;
        if (bytes.empty()) {
            return false;
        }
        report(frame.name, true, std::string(bytes.begin(), bytes.end()), "", {ms, ms},
               frameNumber_);
        return true;
    }

    void loadFailed(const std::string& name, const std::string& error) {
        badInput_ = true;
        fail(name + ": " + error);
        if (options_.json && !options_.frames) {
            // Nothing was decoded, so there is no decode time.
            std::cout << "{\"file\":" << jsonString(name)
                      << ",\"ok\":false,\"text\":\"\",\"bytes\":\"\",\"ms\":null,\"error\":"
                      << jsonString("unreadable file: " + error) << "}\n";
        }
    }

    void noFrameRead() {
        sawUnread_ = true;
        fail("no symbol read in " + std::to_string(frameNumber_) + " frames");
        if (options_.json) {
            // ms is the decode time of all frames together.
            std::cout << "{\"frames\":" << frameNumber_
                      << ",\"ok\":false,\"text\":\"\",\"bytes\":\"\",\"ms\":"
                      << milliseconds(fedMs_) << ",\"error\":\"no symbol found\"}\n";
        }
    }

    int exitCode() const { return badInput_ ? kBadInput : sawUnread_ ? kSomeUnread : kAllRead; }

private:
    void report(const std::string& name, bool ok, const std::string& bytes,
                const std::string& error, const Timing& timing, int frame) {
        if (options_.json) {
            std::cout << "{\"file\":" << jsonString(name);
            if (frame > 0) {
                std::cout << ",\"frame\":" << frame;
            }
            // Every object has the same fields; failures add the error.
            std::cout << ",\"ok\":" << (ok ? "true" : "false") << ",\"text\":" << jsonString(bytes)
                      << ",\"bytes\":\"" << hex(bytes) << "\"";
            std::cout << ",\"ms\":" << milliseconds(timing.median);
            if (options_.timing) {
                std::cout << ",\"runs\":" << options_.repeat
                          << ",\"ms_min\":" << milliseconds(timing.minimum);
            }
            if (!ok) {
                std::cout << ",\"error\":" << jsonString(error);
            }
            std::cout << "}\n";
        } else {
            if (ok) {
                if (frame > 0) {
                    std::cout << "frame " << frame << " (" << name << "): ";
                } else if (prefix_) {
                    std::cout << name << ": ";
                }
                std::cout.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
                std::cout << "\n";
            }
            if (options_.timing) {
                std::cout << name << ": median " << milliseconds(timing.median) << " ms, min "
                          << milliseconds(timing.minimum) << " ms over " << options_.repeat
                          << " runs\n";
            }
        }
        std::cout.flush();
    }

    const Options& options_;
    bool prefix_;
    std::unique_ptr<pdf417::PDF417Reader> reader_;
    int frameNumber_ = 0;
    double fedMs_ = 0.0;
    bool badInput_ = false;
    bool sawUnread_ = false;
};

} // namespace

int main(int argc, char** argv) {
    Options options;
    int exitCode = kAllRead;
    if (!parseArguments(argc, argv, options, exitCode)) {
        return exitCode;
    }

    const bool progress = options.files.size() > 20 && isatty(STDERR_FILENO) == 1;
    Scanner scanner(options, options.files.size() > 1);
    std::vector<Frame> frames;
    bool read = false;
    for (std::size_t i = 0; i < options.files.size() && !read; ++i) {
        const std::string& file = options.files[i];
        if (progress) {
            std::cerr << "\r[" << (i + 1) << "/" << options.files.size() << "] " << file << "\033[K"
                      << std::flush;
            progressShown = true;
        }
        frames.clear();
        std::string error;
        const bool loaded = options.raw ? FrameLoader::loadRaw(file, options.rawWidth,
                                                               options.rawHeight, frames, error)
                                        : FrameLoader::loadImage(file, frames, error);
        if (!loaded) {
            scanner.loadFailed(file == "-" ? "<stdin>" : file, error);
            continue;
        }
        if (frames.size() > 1) {
            scanner.setPrefix(true);
        }
        for (const Frame& frame : frames) {
            if (options.frames) {
                if (scanner.feed(frame)) {
                    read = true;
                    break;
                }
            } else {
                scanner.scan(frame);
            }
        }
    }
    if (progressShown) {
        std::cerr << "\r\033[K" << std::flush;
        progressShown = false;
    }
    if (options.frames && !read) {
        scanner.noFrameRead();
    }
    return scanner.exitCode();
}
