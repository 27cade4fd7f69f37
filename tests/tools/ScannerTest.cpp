// The command-line scanner run as a process: what it prints, where, and with
// which exit status, for good, empty and broken inputs.

#include "tests/support/ModuleGrid.h"
#include "tests/support/SymbolRenderer.h"
#include "tests/support/ZintPdf417.h"
#include "tests/tools/ScannerTestSupport.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <stb_image.h>
#include <stb_image_write.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace pdf417::test {
namespace {

using nlohmann::json;

struct Sample {
    std::string png;
    std::string text;
};

std::vector<Sample> bundledSamples() {
    std::vector<Sample> samples;
    for (const auto& entry : std::filesystem::directory_iterator(samplesDir())) {
        if (entry.path().extension() == ".png") {
            samples.push_back(
                {entry.path().string(),
                 readFile(std::filesystem::path(entry.path()).replace_extension(".txt"))});
        }
    }
    std::sort(samples.begin(), samples.end(),
              [](const Sample& a, const Sample& b) { return a.png < b.png; });
    return samples;
}

// A camera-like frame of `message` encoded by libzint (no pixels if libzint
// refuses it); with no message, blank paper.
SymbolRenderer::Frame frameOf(const std::string& message, int width, int height,
                              std::uint64_t seed) {
    SymbolRenderer::Frame frame;
    Pdf417Modules symbol;
    if (message.empty()) {
        frame.width = width;
        frame.height = height;
        frame.pixels.assign(static_cast<std::size_t>(width) * height, 200);
    } else if (encodePdf417(message, {}, symbol)) {
        SymbolRenderer::Options options;
        options.frameWidth = width;
        options.frameHeight = height;
        options.moduleWidth = 4.0;
        options.blurSigma = 0.6;
        options.noiseSigma = 2.0;
        options.seed = seed;
        frame = SymbolRenderer().render(ModuleGrid(symbol), options);
    }
    return frame;
}

std::string pixels(const SymbolRenderer::Frame& frame) {
    return std::string(frame.pixels.begin(), frame.pixels.end());
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

TEST(Scanner, ReadsTheBundledSamples) {
    const std::vector<Sample> samples = bundledSamples();
    ASSERT_GE(samples.size(), 4u);
    std::vector<std::string> all;
    std::string expected;
    for (const Sample& sample : samples) {
        ASSERT_FALSE(sample.text.empty()) << sample.png << " has no expected message";
        const auto alone = runScanner({sample.png});
        EXPECT_EQ(alone.exitStatus, 0) << sample.png << ": " << alone.err;
        EXPECT_EQ(alone.out, sample.text + "\n");
        EXPECT_EQ(alone.err, "");
        all.push_back(sample.png);
        expected += sample.png + ": " + sample.text + "\n";
    }
    // Several files: each message prefixed by its file, in the given order.
    const auto together = runScanner(all);
    EXPECT_EQ(together.exitStatus, 0) << together.err;
    EXPECT_EQ(together.out, expected);

    // More than 20 files: a progress line, only where a person watches
    // standard error, wiped at the end and before any message.
    std::vector<std::string> many(21, samples[0].png);
    const std::string missing = samplesDir() / "missing.png";
    many[10] = missing;
    const auto quiet = runScanner(many);
    EXPECT_EQ(quiet.exitStatus, 2);
    EXPECT_EQ(lines(quiet.out).size(), 20u);
    EXPECT_EQ(quiet.err.rfind("pdf417scan: " + missing + ": cannot open", 0), 0u) << quiet.err;
    EXPECT_EQ(lines(quiet.err).size(), 1u) << quiet.err;
    const auto watched = runScanner(many, "", true);
    EXPECT_EQ(watched.exitStatus, 2);
    EXPECT_EQ(watched.out, quiet.out);
    EXPECT_TRUE(contains(watched.err, "[1/21] " + samples[0].png)) << watched.err;
    EXPECT_TRUE(contains(watched.err, "[21/21] ")) << watched.err;
    EXPECT_TRUE(contains(watched.err, "\r\033[K" + quiet.err)) << watched.err;
    EXPECT_EQ(watched.err.substr(watched.err.rfind('\r')), "\r\033[K");
    EXPECT_EQ(runScanner(std::vector<std::string>(20, samples[0].png), "", true).err, "");
}

// A frame without a symbol exits 1, an input that cannot be read exits 2;
// either way the other inputs are still read, and each failure is named.
TEST(Scanner, ExitStatusesForFramesWithoutSymbolsAndUnreadableInputs) {
    ScratchDir dir;
    ASSERT_TRUE(dir.ok());
    const std::vector<Sample> samples = bundledSamples();
    const std::string noSymbol = dir.file("no symbol.pgm");
    const std::string missing = dir.file("missing.png");
    const std::string truncated = dir.file("truncated.png");
    const std::string text = dir.file("notes.png");
    const std::string empty = dir.file("empty.jpg");
    const std::string png = readFile(samples[0].png);
    ASSERT_TRUE(frameOf("", 320, 200, 3).writePgm(noSymbol));
    ASSERT_TRUE(writeFile(truncated, png.substr(0, png.size() / 2)));
    ASSERT_TRUE(writeFile(text, "This is a text file, not a picture.\n"));
    ASSERT_TRUE(writeFile(empty, ""));
    const std::string read0 = samples[0].png + ": " + samples[0].text + "\n";

    const auto alone = runScanner({noSymbol});
    EXPECT_EQ(alone.exitStatus, 1);
    EXPECT_EQ(alone.out, "");
    EXPECT_TRUE(contains(alone.err, noSymbol) && contains(alone.err, "no symbol found"))
        << alone.err;
    const auto mixed = runScanner({samples[0].png, noSymbol});
    EXPECT_EQ(mixed.exitStatus, 1);
    EXPECT_EQ(mixed.out, read0);

    const std::vector<std::string> inputs{missing,  samples[0].png, truncated,     text,
                                          noSymbol, empty,          samples[1].png};
    const auto run = runScanner(inputs);
    EXPECT_EQ(run.exitStatus, 2);
    EXPECT_EQ(run.out, read0 + samples[1].png + ": " + samples[1].text + "\n");
    // One message per bad input, each naming the file and the cause.
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

    // --json: one object per input, in order, the same verdicts.
    std::vector<std::string> args{"--json"};
    args.insert(args.end(), inputs.begin(), inputs.end());
    const auto asJson = runScanner(args);
    EXPECT_EQ(asJson.exitStatus, 2);
    const std::vector<std::string> objects = lines(asJson.out);
    ASSERT_EQ(objects.size(), inputs.size()) << asJson.out;
    const bool read[] = {false, true, false, false, false, false, true};
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        const json line = json::parse(objects[i]);
        EXPECT_EQ(line.at("file"), inputs[i]);
        EXPECT_EQ(line.at("ok"), read[i]) << inputs[i];
        EXPECT_EQ(line.contains("error"), !read[i]) << inputs[i];
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
    ASSERT_TRUE(dir.ok());
    const std::string first = "RAW FRAME ONE";
    const std::string second = "raw frame two, 0123456789";
    const std::string a = pixels(frameOf(first, 640, 360, 1));
    const std::string b = pixels(frameOf(second, 640, 360, 2));
    const std::string blank = pixels(frameOf("", 640, 360, 3));
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
    const std::string file = dir.file("frames.gray");
    const std::string cut = dir.file("cut.gray");
    ASSERT_TRUE(writeFile(file, b + a));
    ASSERT_TRUE(writeFile(cut, a.substr(1)));
    const auto files = runScanner({"--raw", "640X360", cut, file});
    EXPECT_EQ(files.exitStatus, 2);
    EXPECT_EQ(files.out, file + "#1: " + second + "\n" + file + "#2: " + first + "\n");
    EXPECT_TRUE(contains(files.err, cut) && contains(files.err, "not a multiple")) << files.err;

    // A size that does not match the data, and no data at all.
    const auto wrong = runScanner({"--raw", "641x360", "-"}, a);
    EXPECT_EQ(wrong.exitStatus, 2);
    EXPECT_EQ(wrong.out, "");
    EXPECT_TRUE(contains(wrong.err, "<stdin>")) << wrong.err;
    const auto nothing = runScanner({"--raw", "640x360", "-"});
    EXPECT_EQ(nothing.exitStatus, 2);
    EXPECT_TRUE(contains(nothing.err, "<stdin>")) << nothing.err;
}

TEST(Scanner, JsonLinesParseAndCarryTheExactBytes) {
    ScratchDir dir;
    ASSERT_TRUE(dir.ok());
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
        const SymbolRenderer::Frame frame = frameOf(messages[i], 0, 0, i);
        ASSERT_FALSE(frame.pixels.empty()) << "libzint refused message " << i;
        args.push_back(dir.file("message " + std::to_string(i) + ".pgm"));
        ASSERT_TRUE(frame.writePgm(args.back()));
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
    ASSERT_TRUE(dir.ok());
    const std::string message = "Formats: PNG, JPEG, BMP, TGA, PPM";
    const SymbolRenderer::Frame frame = frameOf(message, 480, 320, 9);
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
    ASSERT_TRUE(writeFile(files[5], "P6\n" + std::to_string(w) + " " + std::to_string(h) +
                                        "\n255\n" + std::string(rgb.begin(), rgb.end())));
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

    const std::string sample = bundledSamples().at(0).png;
    // S stands for a sample's path.
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

// A symbol turned by 30 degrees reads only through the precise chain: not
// with --fast, and --json says which chain read it. --debug-image draws the
// read's outline (yellow) over the frame, and nothing of the kind over blank
// paper.
TEST(Scanner, FastOptionJsonFieldsAndDebugImage) {
    ScratchDir dir;
    ASSERT_TRUE(dir.ok());
    const std::string message = "Turned by thirty degrees";
    Pdf417Modules symbol;
    ASSERT_TRUE(encodePdf417(message, {3, 3, 0}, symbol));
    SymbolRenderer::Options options;
    options.frameWidth = 480;
    options.frameHeight = 320;
    options.moduleWidth = 3.0;
    options.rotationDegrees = 30.0;
    const SymbolRenderer::Frame frame = SymbolRenderer().render(ModuleGrid(symbol), options);
    const std::string turned = dir.file("turned.pgm");
    ASSERT_TRUE(frame.writePgm(turned));
    const std::string blank = dir.file("blank.pgm");
    ASSERT_TRUE(frameOf("", 200, 100, 1).writePgm(blank));

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

} // namespace
} // namespace pdf417::test
