// The command-line scanner run as a process: what it prints, where, and with
// which exit status, for good, empty, broken and pooled inputs.

#include "tests/support/Glare.h"
#include "tests/support/ModuleGrid.h"
#include "tests/support/SymbolRenderer.h"
#include "tests/support/ZintPdf417.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <stb_image.h>
#include <stb_image_write.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

extern char** environ;

namespace pdf417::test {
namespace {

using nlohmann::json;
namespace fs = std::filesystem;

// What a run of the scanner printed, and its exit status (-1 when it did
// not exit normally, as on a sanitizer's abort, or could not be started).
struct Run {
    int exitStatus = -1;
    std::string out;
    std::string err;
};

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// A fresh directory, removed with everything in it.
struct ScratchDir {
    const fs::path path;
    explicit ScratchDir(const std::string& use = "files")
        : path(fs::temp_directory_path() /
               ("pdf417scan-" + std::to_string(::getpid()) + "-" + use)) {
        fs::create_directories(path);
    }
    ~ScratchDir() {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }
    std::string file(const std::string& name) const { return (path / name).string(); }
    // Writes the file `name` in the directory and returns its path.
    std::string write(const std::string& name, const std::string& bytes) const {
        std::ofstream(file(name), std::ios::binary) << bytes;
        return file(name);
    }
};

// Runs the scanner with `args`, no shell involved, feeding it `input`. Its
// streams go through files, so that neither side can block the other.
Run runScanner(std::vector<std::string> args, const std::string& input = "") {
    args.insert(args.begin(), PDF417SCAN_CLI);
    std::vector<char*> argv;
    for (std::string& arg : args) {
        argv.push_back(arg.data());
    }
    argv.push_back(nullptr);
    const ScratchDir io("io");
    const std::string in = io.write("in", input), out = io.file("out"), err = io.file("err");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, in.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT, 0600);
    pid_t pid = 0;
    int status = 0;
    Run run;
    if (::posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ) == 0 &&
        ::waitpid(pid, &status, 0) == pid) {
        run.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        run.out = readFile(out);
        run.err = readFile(err);
    }
    posix_spawn_file_actions_destroy(&actions);
    return run;
}

// A camera's little blur and noise, in a frame of width x height or, for
// 0 x 0, just large enough.
SymbolRenderer::Options camera(int width = 0, int height = 0, std::uint64_t seed = 1) {
    SymbolRenderer::Options options;
    options.frameWidth = width;
    options.frameHeight = height;
    options.moduleWidth = 4.0;
    options.blurSigma = 0.6;
    options.noiseSigma = 2.0;
    options.seed = seed;
    return options;
}

// `message` encoded by libzint and drawn so; no pixels if libzint refuses it.
SymbolRenderer::Frame frameOf(const std::string& message, const SymbolRenderer::Options& options) {
    Pdf417Modules symbol;
    return encodePdf417(message, {}, symbol) ? SymbolRenderer().render(ModuleGrid(symbol), options)
                                             : SymbolRenderer::Frame();
}

// The bytes of a binary PGM file.
std::string pgm(int width, int height, const std::string& pixels) {
    return "P5\n" + std::to_string(width) + " " + std::to_string(height) + "\n255\n" + pixels;
}
std::string pgm(const SymbolRenderer::Frame& f) {
    return pgm(f.width, f.height, std::string(f.pixels.begin(), f.pixels.end()));
}

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        out.push_back(line);
    }
    return out;
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// Each bundled sample reads as its .txt says. One input prints its message
// alone, several each behind its file's name, in the given order.
TEST(Scanner, ReadsTheBundledSamples) {
    std::vector<std::string> files;
    for (const auto& entry : fs::directory_iterator(PDF417SCAN_SAMPLES_DIR)) {
        if (entry.path().extension() == ".png") {
            files.push_back(entry.path().string());
        }
    }
    std::sort(files.begin(), files.end());
    ASSERT_GE(files.size(), 4u);
    std::string expected;
    for (const std::string& file : files) {
        const std::string text = readFile(fs::path(file).replace_extension(".txt"));
        ASSERT_FALSE(text.empty()) << file << " has no expected message";
        expected += file + ": " + text + "\n";
    }
    const auto together = runScanner(files);
    EXPECT_EQ(together.exitStatus, 0) << together.err;
    EXPECT_EQ(together.out, expected);
    EXPECT_EQ(together.err, "");
    const auto alone = runScanner({files[0]});
    EXPECT_EQ(alone.exitStatus, 0) << alone.err;
    EXPECT_EQ(alone.out, lines(expected)[0].substr(files[0].size() + 2) + "\n");
}

// A frame without a symbol exits 1, an input that cannot be read exits 2;
// either way the other inputs are still read, and each failure is named, on
// standard error or, with --json, in one object per input.
TEST(Scanner, ExitStatusesAndFailures) {
    ScratchDir dir;
    const std::string first = dir.write("first.pgm", pgm(frameOf("FIRST", camera())));
    const std::string second = dir.write("second.pgm", pgm(frameOf("SECOND", camera())));
    const std::string noSymbol = dir.write("no symbol.pgm", pgm(320, 200, std::string(64000, 'x')));
    const std::string missing = dir.file("missing.png");
    const std::string png = readFile(fs::path(PDF417SCAN_SAMPLES_DIR) / "hello.png");
    const std::string truncated = dir.write("truncated.png", png.substr(0, png.size() / 2));
    const std::string text = dir.write("notes.png", "This is a text file, not a picture.\n");
    const std::string empty = dir.write("empty.jpg", "");

    const auto mixed = runScanner({first, noSymbol});
    EXPECT_EQ(mixed.exitStatus, 1);
    EXPECT_EQ(mixed.out, first + ": FIRST\n");
    EXPECT_EQ(lines(mixed.err),
              std::vector<std::string>{"pdf417scan: " + noSymbol + ": no symbol found"});

    const std::vector<std::string> inputs{missing, first, truncated, text, noSymbol, empty, second};
    const auto run = runScanner(inputs);
    EXPECT_EQ(run.exitStatus, 2);
    EXPECT_EQ(run.out, first + ": FIRST\n" + second + ": SECOND\n");
    const std::vector<std::string> errors = lines(run.err);
    const std::pair<std::string, std::string> causes[] = {{missing, "cannot open"},
                                                          {truncated, "not a readable image"},
                                                          {text, "not a readable image"},
                                                          {noSymbol, "no symbol found"},
                                                          {empty, "not a readable image"}};
    ASSERT_EQ(errors.size(), std::size(causes)) << run.err;
    for (std::size_t i = 0; i < errors.size(); ++i) {
        EXPECT_TRUE(contains(errors[i], causes[i].first) && contains(errors[i], causes[i].second))
            << errors[i];
    }

    std::vector<std::string> args{"--json"};
    args.insert(args.end(), inputs.begin(), inputs.end());
    const auto asJson = runScanner(args);
    EXPECT_EQ(asJson.exitStatus, 2);
    const std::vector<std::string> objects = lines(asJson.out);
    ASSERT_EQ(objects.size(), inputs.size()) << asJson.out;
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        const json line = json::parse(objects[i]);
        const bool read = inputs[i] == first || inputs[i] == second;
        EXPECT_EQ(line.at("file"), inputs[i]);
        EXPECT_EQ(line.at("ok"), read) << inputs[i];
        EXPECT_EQ(line.contains("error"), !read) << inputs[i];
    }
    const std::string cause = json::parse(objects[3]).at("error");
    EXPECT_EQ(cause.rfind("unreadable file: ", 0), 0u) << cause;
    EXPECT_TRUE(json::parse(objects[0]).at("ms").is_null());
    const json none = json::parse(objects[4]);
    EXPECT_EQ(none.at("error"), "no symbol found");
    EXPECT_TRUE(none.at("text") == "" && none.at("bytes") == "" && none.at("ms").is_number());
}

TEST(Scanner, RawFramesFromStandardInputAndFiles) {
    ScratchDir dir;
    const std::string first = "RAW FRAME ONE";
    const std::string second = "raw frame two, 0123456789";
    const SymbolRenderer::Frame fa = frameOf(first, camera(640, 360, 1)),
                                fb = frameOf(second, camera(640, 360, 2));
    const std::string a(fa.pixels.begin(), fa.pixels.end()), b(fb.pixels.begin(), fb.pixels.end());
    const std::string blank(640 * 360, 'x');
    ASSERT_TRUE(a.size() == blank.size() && b.size() == blank.size());

    const auto one = runScanner({"--raw", "640x360", "-"}, a);
    EXPECT_EQ(one.exitStatus, 0) << one.err;
    EXPECT_EQ(one.out, first + "\n");

    // Frames back to back are read one by one and named by their number.
    const auto three = runScanner({"--raw", "640x360", "-"}, a + blank + b);
    EXPECT_EQ(three.exitStatus, 1);
    EXPECT_EQ(three.out, "<stdin>#1: " + first + "\n<stdin>#3: " + second + "\n");
    EXPECT_TRUE(contains(three.err, "<stdin>#2") && contains(three.err, "no symbol found"))
        << three.err;

    // The same from a file, with a file that is one byte short beside it.
    const std::string file = dir.write("frames.gray", b + a);
    const std::string cut = dir.write("cut.gray", a.substr(1));
    const auto files = runScanner({"--raw", "640X360", cut, file});
    EXPECT_EQ(files.exitStatus, 2);
    EXPECT_EQ(files.out, file + "#1: " + second + "\n" + file + "#2: " + first + "\n");
    EXPECT_TRUE(contains(files.err, cut) && contains(files.err, "not a multiple")) << files.err;

    // A size that does not match the data, and no data at all.
    for (const auto& [size, input] :
         {std::pair<std::string, std::string>{"641x360", a}, {"640x360", ""}}) {
        const auto wrong = runScanner({"--raw", size, "-"}, input);
        EXPECT_EQ(wrong.exitStatus, 2);
        EXPECT_EQ(wrong.out, "");
        EXPECT_TRUE(contains(wrong.err, "<stdin>")) << wrong.err;
    }
}

TEST(Scanner, JsonLinesParseAndCarryTheExactBytes) {
    ScratchDir dir;
    // Quotes, backslashes, control characters and bytes above 127, which
    // the text field must escape and the bytes field must carry exactly.
    std::vector<std::string> messages{"plain text", "say \"hi\"\\ \t tab\r\nnext line",
                                      std::string("nul\0and\x01\x1f\x7f", 11), "caf\xe9 \xff\x80"};
    std::mt19937 rng(42);
    for (int i = 0; i < 8; ++i) {
        std::string random(1 + rng() % 40, '\0');
        for (char& c : random) {
            c = static_cast<char>(rng() & 0xFF);
        }
        messages.push_back(random);
    }
    std::vector<std::string> args{"--json"};
    for (std::size_t i = 0; i < messages.size(); ++i) {
        const SymbolRenderer::Frame frame = frameOf(messages[i], camera(0, 0, i));
        ASSERT_FALSE(frame.pixels.empty()) << "libzint refused message " << i;
        args.push_back(dir.write("message " + std::to_string(i) + ".pgm", pgm(frame)));
    }
    const auto run = runScanner(args);
    EXPECT_EQ(run.exitStatus, 0) << run.err;
    const std::vector<std::string> objects = lines(run.out);
    ASSERT_EQ(objects.size(), messages.size()) << run.out;
    for (std::size_t i = 0; i < messages.size(); ++i) {
        const json line = json::parse(objects[i]);
        // The text field is the bytes read as Latin-1; the bytes field hex.
        std::string utf8, bytes;
        for (const char c : messages[i]) {
            const auto byte = static_cast<unsigned char>(c);
            utf8 += byte < 0x80 ? std::string(1, c)
                                : std::string{static_cast<char>(0xC0 | (byte >> 6)),
                                              static_cast<char>(0x80 | (byte & 0x3F))};
        }
        const std::string hex = line.at("bytes");
        for (std::size_t at = 0; at + 1 < hex.size(); at += 2) {
            bytes += static_cast<char>(std::stoi(hex.substr(at, 2), nullptr, 16));
        }
        EXPECT_EQ(line.at("file"), args[i + 1]);
        EXPECT_EQ(line.at("ok"), true) << objects[i];
        EXPECT_EQ(line.at("text"), utf8) << objects[i];
        EXPECT_EQ(bytes, messages[i]) << objects[i];
        EXPECT_GE(line.at("ms").get<double>(), 0.0);
        EXPECT_FALSE(line.contains("error"));
    }

    // --time: the median and the fastest of N decodes.
    const auto timed = runScanner({"--json", "--time", "5", args[1]});
    EXPECT_EQ(timed.exitStatus, 0) << timed.err;
    const json line = json::parse(timed.out);
    EXPECT_EQ(line.at("runs"), 5);
    EXPECT_LE(line.at("ms_min").get<double>(), line.at("ms").get<double>());
    EXPECT_EQ(line.at("text"), messages[0]);
    const auto timedText = runScanner({"--time", "3", args[1]});
    EXPECT_EQ(timedText.exitStatus, 0);
    const std::vector<std::string> report = lines(timedText.out);
    ASSERT_EQ(report.size(), 2u) << timedText.out;
    EXPECT_EQ(report[0], messages[0]);
    EXPECT_TRUE(contains(report[1], "median") && contains(report[1], "over 3 runs")) << report[1];
}

TEST(Scanner, ReadsColourAndGrayInEveryWritableFormat) {
    ScratchDir dir;
    const std::string message = "Formats: PNG, JPEG, BMP, TGA, PPM";
    const SymbolRenderer::Frame frame = frameOf(message, camera(480, 320, 9));
    ASSERT_FALSE(frame.pixels.empty());
    // Bluish ink on yellowish paper: the channels differ, so the loader
    // must really turn colour into gray.
    std::vector<std::uint8_t> rgb;
    for (const std::uint8_t gray : frame.pixels) {
        rgb.insert(rgb.end(), {gray, static_cast<std::uint8_t>(gray * 0.95),
                               static_cast<std::uint8_t>(40 + gray * 0.3)});
    }
    const int w = frame.width, h = frame.height;
    const std::vector<std::string> files{dir.file("colour.png"), dir.file("colour.jpg"),
                                         dir.file("gray.jpg"),   dir.file("colour.bmp"),
                                         dir.file("colour.tga"), dir.file("colour.ppm")};
    ASSERT_TRUE(stbi_write_png(files[0].c_str(), w, h, 3, rgb.data(), w * 3));
    ASSERT_TRUE(stbi_write_jpg(files[1].c_str(), w, h, 3, rgb.data(), 90));
    ASSERT_TRUE(stbi_write_jpg(files[2].c_str(), w, h, 1, frame.pixels.data(), 90));
    ASSERT_TRUE(stbi_write_bmp(files[3].c_str(), w, h, 3, rgb.data()));
    ASSERT_TRUE(stbi_write_tga(files[4].c_str(), w, h, 3, rgb.data()));
    dir.write("colour.ppm", "P6" + pgm(w, h, std::string(rgb.begin(), rgb.end())).substr(2));
    const auto run = runScanner(files);
    EXPECT_EQ(run.exitStatus, 0) << run.err;
    std::string expected;
    for (const std::string& file : files) {
        expected += file + ": " + message + "\n";
    }
    EXPECT_EQ(run.out, expected);
}

TEST(Scanner, OptionsAndUsageErrors) {
    const auto help = runScanner({"--help"});
    EXPECT_EQ(help.exitStatus, 0);
    EXPECT_EQ(help.out.rfind("Usage: pdf417scan", 0), 0u) << help.out;
    EXPECT_EQ(help.err, "");
    const auto version = runScanner({"--version"});
    EXPECT_EQ(version.exitStatus, 0);
    EXPECT_EQ(version.out, "pdf417scan " PDF417SCAN_VERSION "\n");

    // S stands for a sample's path.
    const std::string sample = (fs::path(PDF417SCAN_SAMPLES_DIR) / "hello.png").string();
    for (const char* line : {"", "--bogus S", "--raw", "--raw 0x10 -", "--raw 10x -",
                             "--raw ax10 -", "--time 0 S", "--time many S", "--time", "-",
                             "--raw 4x4 - -", "--frames --time 2 S", "--debug-image"}) {
        std::vector<std::string> args;
        std::istringstream words(line);
        for (std::string word; words >> word;) {
            args.push_back(word == "S" ? sample : word);
        }
        const auto run = runScanner(args, "0123456789abcdef");
        EXPECT_EQ(run.exitStatus, 2) << line;
        EXPECT_EQ(run.out, "") << line;
        EXPECT_FALSE(run.err.empty()) << line;
    }
    // "--" ends the options: a file may be called --json.
    const auto dashed = runScanner({"--", "--json"});
    EXPECT_EQ(dashed.exitStatus, 2);
    EXPECT_TRUE(contains(dashed.err, "--json: cannot open")) << dashed.err;
}

// Turned by 30 degrees, a symbol reads only through the precise chain: not
// with --fast, and --json says so. --debug-image draws the read's outline
// (yellow) over the frame, and nothing of the kind over blank paper.
TEST(Scanner, FastOptionJsonFieldsAndDebugImage) {
    ScratchDir dir;
    const std::string message = "Turned by thirty degrees";
    Pdf417Modules symbol;
    ASSERT_TRUE(encodePdf417(message, {3, 3, 0}, symbol));
    SymbolRenderer::Options options = camera(480, 320);
    options.moduleWidth = 3.0;
    options.rotationDegrees = 30.0;
    const SymbolRenderer::Frame frame = SymbolRenderer().render(ModuleGrid(symbol), options);
    const std::string turned = dir.write("turned.pgm", pgm(frame));
    const std::string blank = dir.write("blank.pgm", pgm(200, 100, std::string(20000, 'x')));

    EXPECT_EQ(runScanner({"--fast", turned}).exitStatus, 1);
    const auto run = runScanner({"--json", turned});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    const json line = json::parse(run.out);
    EXPECT_EQ(line.at("text"), message);
    EXPECT_EQ(line.at("chain"), "precise");
    EXPECT_EQ(line.at("rows"), symbol.rows);
    EXPECT_EQ(line.at("columns"), 3);
    EXPECT_EQ(line.at("ec_level"), 3);
    EXPECT_TRUE(line.at("macro").is_null());
    EXPECT_EQ(line.at("corners").size(), 4u);
    // The first corner is the start pattern's top, where the renderer put it.
    const Vec2 topLeft = frame.toFrame(0, 0);
    EXPECT_NEAR(line.at("corners")[0][0].get<double>(), topLeft.x, 3.0);
    EXPECT_NEAR(line.at("corners")[0][1].get<double>(), topLeft.y, 3.0);

    const std::string picture = dir.file("read.png");
    const auto drawn = runScanner({"--debug-image", picture, turned, blank});
    EXPECT_EQ(drawn.exitStatus, 1) << drawn.err; // the blank frame held no symbol
    for (const auto& [path, read] :
         {std::pair<std::string, bool>{picture, true}, {dir.file("read-2.png"), false}}) {
        int width = 0, height = 0, channels = 0;
        unsigned char* rgb = stbi_load(path.c_str(), &width, &height, &channels, 3);
        ASSERT_NE(rgb, nullptr) << path;
        int yellow = 0;
        for (int i = 0; i < width * height; ++i) {
            yellow += rgb[3 * i] == 255 && rgb[3 * i + 1] == 230 && rgb[3 * i + 2] == 0 ? 1 : 0;
        }
        stbi_image_free(rgb);
        EXPECT_EQ(width, read ? 480 : 200) << path;
        EXPECT_EQ(yellow > 100, read) << path;
    }
}

// --frames pools what consecutive frames show, so a symbol that no frame
// shows whole still reads: glare over two of six data columns erases far
// more than level 2's 8 check codewords restore.
TEST(Scanner, FramesPoolWhatNoSingleFrameShows) {
    ScratchDir dir;
    const std::string message = "FRAMES POOL THEIR VOTES: each frame loses a third of its data "
                                "columns to glare, yet together they hold every cell.";
    Pdf417Modules symbol;
    ASSERT_TRUE(encodePdf417(message, {6, 2, 0}, symbol));
    ASSERT_GT(2 * symbol.rows, 8);
    const ModuleGrid grid(symbol);
    std::vector<std::string> files;
    for (int band = 0; band < 4; ++band) {
        // A hand-held camera: the symbol drifts a little between frames.
        SymbolRenderer::Options options = camera(640, 360, 100 + static_cast<std::uint64_t>(band));
        options.moduleWidth = 3.0;
        options.centerX = 320.0 + 6.0 * band;
        options.centerY = 180.0 - 4.0 * band;
        options.rotationDegrees = 0.5 * band;
        SymbolRenderer::Frame frame = SymbolRenderer().render(grid, options);
        if (band > 0) {
            addGlare(frame, 2 * band - 2, 2 * band - 1);
        }
        files.push_back(dir.write("frame" + std::to_string(band) + ".pgm", pgm(frame)));
    }
    // Without glare the frame reads: the failures are the glare's doing.
    const auto apart = runScanner(files);
    EXPECT_EQ(apart.exitStatus, 1);
    EXPECT_EQ(apart.out, files[0] + ": " + message + "\n");
    EXPECT_EQ(lines(apart.err).size(), 3u) << apart.err;
    const auto alone = runScanner({"--frames", "--json", files[1]});
    EXPECT_EQ(alone.exitStatus, 1);
    const json none = json::parse(alone.out);
    EXPECT_EQ(none.at("frames"), 1);
    EXPECT_EQ(none.at("ok"), false);
    EXPECT_EQ(none.at("error"), "no symbol found");

    // Any two glared frames see every data column between them; the reading
    // comes at the second.
    const auto pooled = runScanner({"--frames", files[1], files[3]});
    EXPECT_EQ(pooled.exitStatus, 0) << pooled.err;
    EXPECT_EQ(pooled.out, "frame 2 (" + files[3] + "): " + message + "\n");
    const auto asJson = runScanner({"--frames", "--json", files[1], files[2], files[3]});
    EXPECT_EQ(asJson.exitStatus, 0) << asJson.err;
    const json line = json::parse(asJson.out);
    EXPECT_EQ(line.at("ok"), true);
    EXPECT_EQ(line.at("frame"), 2);
    EXPECT_EQ(line.at("file"), files[2]);
    EXPECT_EQ(line.at("text"), message);
}

} // namespace
} // namespace pdf417::test
