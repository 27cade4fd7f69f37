// pdf417scan: reads PDF417 symbols from image files or raw gray frames.
#include "pdf417scan/api/FrameReader.h"
#include "pdf417scan/api/Read.h"
#include "tools/scanner/DebugPicture.h"
#include "tools/scanner/FrameLoader.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
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
    "  --json        one JSON object per line and input: file, ok, text (UTF-8),\n"
    "                bytes (hex), ms, and for a read symbol what else it says:\n"
    "                text_complete, ecis, macro, reader_init, corners, rows,\n"
    "                columns, ec_level, errors, erasures, chain; error for failures\n"
    "  --fast        only the fast first attempt: quickest, reads less\n"
    "  --debug-image FILE.png\n"
    "                draw what the read found over the frame: pattern edges,\n"
    "                the grid, cells that gave no codeword, the outline; later\n"
    "                inputs go to FILE-2.png, FILE-3.png, ...\n"
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
    bool fast = false;
    bool frames = false;
    bool raw = false;
    int rawWidth = 0;
    int rawHeight = 0;
    int repeat = 1;
    bool timing = false;
    std::string debugImage;
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
        } else if (arg == "--fast") {
            options.fast = true;
        } else if (arg == "--frames") {
            options.frames = true;
        } else if (arg == "--debug-image") {
            if (i + 1 >= argc || argv[i + 1][0] == '\0') {
                fail(arg + " needs a file name");
                exitCode = kBadInput;
                return false;
            }
            options.debugImage = argv[++i];
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

// Bytes in the valid UTF-8 sequence at text[i], 0 when there is none.
std::size_t utf8Sequence(const std::string& text, std::size_t i) {
    const auto byte = [&text](std::size_t k) { return static_cast<unsigned char>(text[k]); };
    const unsigned char lead = byte(i);
    const std::size_t length = lead < 0x80                    ? 1
                               : lead >= 0xC2 && lead <= 0xDF ? 2
                               : lead >= 0xE0 && lead <= 0xEF ? 3
                               : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                              : 0;
    if (length == 0 || i + length > text.size()) {
        return 0;
    }
    for (std::size_t k = 1; k < length; ++k) {
        if ((byte(i + k) & 0xC0) != 0x80) {
            return 0;
        }
    }
    // No overlong forms, surrogates or code points past U+10FFFF.
    const unsigned char second = length > 1 ? byte(i + 1) : 0x80;
    if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
        (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F)) {
        return 0;
    }
    return length;
}

// A JSON string of `text`: valid UTF-8 passes through, control characters
// are escaped, and a byte outside any UTF-8 sequence (a file name's, say)
// becomes the code point of the same number, so the output is always valid.
std::string jsonString(const std::string& text) {
    std::string out = "\"";
    char escaped[8];
    for (std::size_t i = 0; i < text.size();) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const std::size_t length = utf8Sequence(text, i);
        if (length > 1) {
            out.append(text, i, length);
            i += length;
            continue;
        }
        ++i;
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

std::string hex(const std::vector<std::uint8_t>& bytes) {
    static const char digits[] = "0123456789abcdef";
    std::string out;
    out.reserve(bytes.size() * 2);
    for (const std::uint8_t byte : bytes) {
        out += digits[byte >> 4];
        out += digits[byte & 15];
    }
    return out;
}

std::string fixed3(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", value);
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

const char* chainName(pdf417::ReadChain chain) {
    switch (chain) {
    case pdf417::ReadChain::Fast:
        return "fast";
    case pdf417::ReadChain::Precise:
        return "precise";
    case pdf417::ReadChain::None:
        break;
    }
    return "none";
}

// The JSON fields a read symbol adds beyond file, ok, text, bytes and ms.
std::string symbolJson(const pdf417::ReadResult& r) {
    std::ostringstream out;
    out << ",\"text_complete\":" << (r.textComplete ? "true" : "false") << ",\"ecis\":[";
    for (std::size_t i = 0; i < r.ecis.size(); ++i) {
        out << (i ? "," : "") << "{\"eci\":" << r.ecis[i].eci << ",\"begin\":" << r.ecis[i].begin
            << ",\"end\":" << r.ecis[i].end << "}";
    }
    out << "],\"macro\":";
    if (r.macro) {
        const pdf417::MacroPdf417& m = *r.macro;
        out << "{\"segment_index\":" << m.segmentIndex << ",\"file_id\":" << jsonString(m.fileId)
            << ",\"last_segment\":" << (m.lastSegment ? "true" : "false");
        const auto text = [&out](const char* name, const std::optional<std::string>& v) {
            if (v) {
                out << ",\"" << name << "\":" << jsonString(*v);
            }
        };
        const auto number = [&out](const char* name, const std::optional<std::int64_t>& v) {
            if (v) {
                out << ",\"" << name << "\":" << *v;
            }
        };
        text("file_name", m.fileName);
        number("segment_count", m.segmentCount);
        number("time_stamp", m.timeStamp);
        text("sender", m.sender);
        text("addressee", m.addressee);
        number("file_size", m.fileSize);
        number("checksum", m.checksum);
        out << "}";
    } else {
        out << "null";
    }
    out << ",\"reader_init\":" << (r.readerInitialisation ? "true" : "false") << ",\"corners\":[";
    for (std::size_t i = 0; i < r.corners.size(); ++i) {
        out << (i ? "," : "") << "[" << fixed3(r.corners[i].x()) << "," << fixed3(r.corners[i].y())
            << "]";
    }
    out << "],\"rows\":" << r.rows << ",\"columns\":" << r.dataColumns
        << ",\"ec_level\":" << r.ecLevel << ",\"errors\":" << r.errorsCorrected
        << ",\"erasures\":" << r.erasuresCorrected << ",\"chain\":\"" << chainName(r.chain) << "\"";
    return out.str();
}

pdf417::ImageView viewOf(const Frame& frame) {
    return pdf417::ImageView(frame.pixels.data(), frame.pixels.size(), frame.width, frame.height);
}

class Scanner {
public:
    Scanner(const Options& options, bool prefix)
        : options_(options), prefix_(prefix), readOptions_(readOptionsOf(options)) {}

    // Names prefix the messages once more than one input is reported.
    void setPrefix(bool prefix) { prefix_ = prefix; }

    // Reads one frame independently of all others.
    void scan(const Frame& frame) {
        std::vector<double> times;
        pdf417::ReadResult result;
        for (int run = 0; run < options_.repeat; ++run) {
            const auto start = std::chrono::steady_clock::now();
            result = pdf417::read(viewOf(frame), readOptions_);
            times.push_back(elapsedMs(start));
        }
        if (!options_.debugImage.empty()) {
            // Read once more, the same way, with the trace kept.
            pdf417::ReadTrace trace;
            pdf417::FrameReader(readOptions_).read(viewOf(frame), &trace);
            drawTrace(frame, trace, result.ok());
        }
        const Timing timing = summarize(times);
        if (!result.ok()) {
            sawUnread_ = true;
            fail(frame.name + ": " + pdf417::describe(result.status));
        }
        report(frame.name, result, timing, -1);
    }

    // Feeds one frame of a video to the shared reader; true once read.
    bool feed(const Frame& frame) {
        ++frameNumber_;
        if (!reader_) {
            reader_ = std::make_unique<pdf417::FrameReader>(readOptions_);
        }
        pdf417::ReadTrace trace;
        const auto start = std::chrono::steady_clock::now();
        const pdf417::ReadResult result =
            reader_->read(viewOf(frame), options_.debugImage.empty() ? nullptr : &trace);
        const double ms = elapsedMs(start);
        if (!options_.debugImage.empty()) {
            drawTrace(frame, trace, result.ok());
        }
        fedMs_ += ms;
        if (!result.ok()) {
            return false;
        }
        report(frame.name, result, {ms, ms}, frameNumber_);
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
                      << ",\"ok\":false,\"text\":\"\",\"bytes\":\"\",\"ms\":" << fixed3(fedMs_)
                      << ",\"error\":\"no symbol found\"}\n";
        }
    }

    int exitCode() const { return badInput_ ? kBadInput : sawUnread_ ? kSomeUnread : kAllRead; }

private:
    // The n-th picture goes to FILE, FILE-2, FILE-3, ... (before the
    // extension).
    void drawTrace(const Frame& frame, const pdf417::ReadTrace& trace, bool read) {
        std::string path = options_.debugImage;
        if (++pictures_ > 1) {
            const std::size_t slash = path.find_last_of('/');
            std::size_t dot = path.find_last_of('.');
            if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) {
                dot = path.size();
            }
            path.insert(dot, "-" + std::to_string(pictures_));
        }
        std::string error;
        if (!pdf417::cli::DebugPicture::write(path, frame.pixels, frame.width, frame.height, trace,
                                              read, error)) {
            badInput_ = true;
            fail(error);
        }
    }

    static pdf417::ReadOptions readOptionsOf(const Options& options) {
        pdf417::ReadOptions read;
        read.effort = options.fast ? pdf417::Effort::Fast : pdf417::Effort::Normal;
        return read;
    }

    void report(const std::string& name, const pdf417::ReadResult& result, const Timing& timing,
                int frame) {
        if (options_.json) {
            std::cout << "{\"file\":" << jsonString(name);
            if (frame > 0) {
                std::cout << ",\"frame\":" << frame;
            }
            // Every object has the same leading fields; a read adds what the
            // symbol says, a failure the error.
            std::cout << ",\"ok\":" << (result.ok() ? "true" : "false")
                      << ",\"text\":" << jsonString(result.text) << ",\"bytes\":\""
                      << hex(result.bytes) << "\"";
            std::cout << ",\"ms\":" << fixed3(timing.median);
            if (options_.timing) {
                std::cout << ",\"runs\":" << options_.repeat
                          << ",\"ms_min\":" << fixed3(timing.minimum);
            }
            if (result.ok()) {
                std::cout << symbolJson(result);
            } else {
                std::cout << ",\"error\":" << jsonString(pdf417::describe(result.status));
            }
            std::cout << "}\n";
        } else {
            if (result.ok()) {
                if (frame > 0) {
                    std::cout << "frame " << frame << " (" << name << "): ";
                } else if (prefix_) {
                    std::cout << name << ": ";
                }
                std::cout << result.text << "\n";
            }
            if (options_.timing) {
                std::cout << name << ": median " << fixed3(timing.median) << " ms, min "
                          << fixed3(timing.minimum) << " ms over " << options_.repeat << " runs\n";
            }
        }
        std::cout.flush();
    }

    const Options& options_;
    bool prefix_;
    pdf417::ReadOptions readOptions_;
    std::unique_ptr<pdf417::FrameReader> reader_;
    int frameNumber_ = 0;
    int pictures_ = 0;
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
