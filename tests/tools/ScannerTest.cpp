// The command-line scanner run as a process: what it prints, where, and with
// which exit status, for good, empty and broken inputs.

#include "tests/support/ModuleGrid.h"
#include "tests/support/SymbolRenderer.h"
#include "tests/support/ZintPdf417.h"
#include "tests/tools/ScannerTestSupport.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
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
            std::filesystem::path txt = entry.path();
            txt.replace_extension(".txt");
            samples.push_back({entry.path().string(), readFile(txt)});
        }
    }
    std::sort(samples.begin(), samples.end(),
              [](const Sample& a, const Sample& b) { return a.png < b.png; });
    return samples;
}

// A camera-like frame of `message` encoded by libzint; empty pixels if
// libzint refuses it.
SymbolRenderer::Frame symbolFrame(const std::string& message, int width, int height,
                                  std::uint64_t seed) {
    Pdf417Modules symbol;
    if (!encodePdf417(message, {}, symbol)) {
        return {};
    }
    SymbolRenderer::Options options;
    options.frameWidth = width;
    options.frameHeight = height;
    options.moduleWidth = 4.0;
    options.blurSigma = 0.6;
    options.noiseSigma = 2.0;
    options.seed = seed;
    SymbolRenderer renderer;
    return renderer.render(ModuleGrid(symbol), options);
}

// Paper and ink with no symbol: random bars and spaces, no start pattern.
SymbolRenderer::Frame paperFrame(int width, int height, std::uint64_t seed) {
    ModuleGrid grid(120, 20);
    std::mt19937 rng(static_cast<unsigned>(seed));
    for (int row = 0; row < grid.rows(); ++row) {
        for (int column = 0; column < grid.columns(); ++column) {
            grid.set(column, row, rng() % 3 == 0);
        }
    }
    SymbolRenderer::Options options;
    options.frameWidth = width;
    options.frameHeight = height;
    options.noiseSigma = 2.0;
    options.seed = seed;
    SymbolRenderer renderer;
    return renderer.render(grid, options);
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

std::string latin1ToUtf8(const std::string& bytes) {
    std::string out;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            out += c;
        } else {
            out += static_cast<char>(0xC0 | (byte >> 6));
            out += static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    return out;
}

std::string fromHex(const std::string& hex) {
    std::string out;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        out += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
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
    // standard error, and wiped at the end.
    std::vector<std::string> many(21, samples[0].png);
    const auto quiet = runScanner(many);
    EXPECT_EQ(quiet.exitStatus, 0);
    EXPECT_EQ(quiet.err, "");
    EXPECT_EQ(lines(quiet.out).size(), 21u);
    const auto watched = runScanner(many, "", true);
    EXPECT_EQ(watched.exitStatus, 0);
    EXPECT_EQ(watched.out, quiet.out);
    EXPECT_TRUE(contains(watched.err, "[1/21] " + samples[0].png)) << watched.err;
    EXPECT_TRUE(contains(watched.err, "[21/21] ")) << watched.err;
    EXPECT_EQ(watched.err.substr(watched.err.rfind('\r')), "\r\033[K");
    const auto few = runScanner(std::vector<std::string>(20, samples[0].png), "", true);
    EXPECT_EQ(few.err, "");
}

TEST(Scanner, FrameWithoutSymbolExitsOne) {
    ScratchDir dir;
    ASSERT_TRUE(dir.ok());
    const std::string empty = dir.file("no symbol.pgm");
    ASSERT_TRUE(paperFrame(640, 360, 7).writePgm(empty));
    const std::string sample = bundledSamples().at(0).png;

    const auto alone = runScanner({empty});
    EXPECT_EQ(alone.exitStatus, 1);
    EXPECT_EQ(alone.out, "");
    EXPECT_TRUE(contains(alone.err, empty) && contains(alone.err, "no symbol found")) << alone.err;

    // A frame that reads does not hide one that does not.
    const auto mixed = runScanner({sample, empty});
    EXPECT_EQ(mixed.exitStatus, 1);
    EXPECT_EQ(mixed.out, sample + ": " +
                             readFile(std::filesystem::path(sample).replace_extension(".txt")) +
                             "\n");

    const auto asJson = runScanner({"--json", empty});
    EXPECT_EQ(asJson.exitStatus, 1);
    const json line = json::parse(asJson.out);
    EXPECT_EQ(line.at("file"), empty);
    EXPECT_EQ(line.at("ok"), false);
    EXPECT_EQ(line.at("error"), "no symbol found");
    EXPECT_EQ(line.at("text"), "");
    EXPECT_EQ(line.at("bytes"), "");
    EXPECT_TRUE(line.at("ms").is_number());
}

TEST(Scanner, UnreadableInputsExitTwoWhileTheOthersAreRead) {
    ScratchDir dir;
    ASSERT_TRUE(dir.ok());
    const std::vector<Sample> samples = bundledSamples();
    const std::string missing = dir.file("missing.png");
    const std::string truncated = dir.file("truncated.png");
    const std::string text = dir.file("notes.png");
    const std::string empty = dir.file("empty.jpg");
    const std::string noSymbol = dir.file("paper.pgm");
    const std::string png = readFile(samples[0].png);
    ASSERT_TRUE(writeFile(truncated, png.substr(0, png.size() / 2)));
    ASSERT_TRUE(writeFile(text, "This is a text file, not a picture.\n"));
    ASSERT_TRUE(writeFile(empty, ""));
    ASSERT_TRUE(paperFrame(320, 200, 3).writePgm(noSymbol));

    const std::vector<std::string> inputs{missing,  samples[0].png, truncated,     text,
                                          noSymbol, empty,          samples[1].png};
    const auto run = runScanner(inputs);
    EXPECT_EQ(run.exitStatus, 2);
    EXPECT_EQ(run.out, samples[0].png + ": " + samples[0].text + "\n" + samples[1].png + ": " +
                           samples[1].text + "\n");
    // One message per bad input, each naming the file and the cause.
    const std::vector<std::string> errors = lines(run.err);
    ASSERT_EQ(errors.size(), 5u) << run.err;
    EXPECT_TRUE(contains(errors[0], missing) && contains(errors[0], "cannot open")) << errors[0];
    EXPECT_TRUE(contains(errors[1], truncated) && contains(errors[1], "not a readable image"))
        << errors[1];
    EXPECT_TRUE(contains(errors[2], text) && contains(errors[2], "not a readable image"))
        << errors[2];
    EXPECT_TRUE(contains(errors[3], noSymbol) && contains(errors[3], "no symbol found"))
        << errors[3];
    EXPECT_TRUE(contains(errors[4], empty) && contains(errors[4], "not a readable image"))
        << errors[4];

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

    // Under a progress line, a message first wipes it.
    std::vector<std::string> many(21, samples[0].png);
    many[10] = missing;
    const auto watched = runScanner(many, "", true);
    EXPECT_EQ(watched.exitStatus, 2);
    EXPECT_EQ(lines(watched.out).size(), 20u);
    EXPECT_TRUE(contains(watched.err, "\r\033[Kpdf417scan: " + missing + ": cannot open"))
        << watched.err;
}

TEST(Scanner, RawFramesFromStandardInputAndFiles) {
    ScratchDir dir;
    ASSERT_TRUE(dir.ok());
    const std::string first = "RAW FRAME ONE";
    const std::string second = "raw frame two, 0123456789";
    const SymbolRenderer::Frame a = symbolFrame(first, 640, 360, 1);
    const SymbolRenderer::Frame b = symbolFrame(second, 640, 360, 2);
    const SymbolRenderer::Frame blank = paperFrame(640, 360, 3);
    ASSERT_FALSE(a.pixels.empty());
    ASSERT_FALSE(b.pixels.empty());

    const auto one = runScanner({"--raw", "640x360", "-"}, pixels(a));
    EXPECT_EQ(one.exitStatus, 0) << one.err;
    EXPECT_EQ(one.out, first + "\n");

    // Frames back to back are read one by one and named by their number.
    const auto three = runScanner({"--raw", "640x360", "-"}, pixels(a) + pixels(blank) + pixels(b));
    EXPECT_EQ(three.exitStatus, 1);
    EXPECT_EQ(three.out, "<stdin>#1: " + first + "\n<stdin>#3: " + second + "\n");
    EXPECT_TRUE(contains(three.err, "<stdin>#2") && contains(three.err, "no symbol found"))
        << three.err;

    // The same from a file, with a file that is one byte short beside it.
    const std::string file = dir.file("frames.gray");
    const std::string cut = dir.file("cut.gray");
    ASSERT_TRUE(writeFile(file, pixels(b) + pixels(a)));
    ASSERT_TRUE(writeFile(cut, pixels(a).substr(1)));
    const auto files = runScanner({"--raw", "640X360", cut, file});
    EXPECT_EQ(files.exitStatus, 2);
    EXPECT_EQ(files.out, file + "#1: " + second + "\n" + file + "#2: " + first + "\n");
    EXPECT_TRUE(contains(files.err, cut) && contains(files.err, "not a multiple")) << files.err;

    // A size that does not match the data, and no data at all.
    const auto wrong = runScanner({"--raw", "641x360", "-"}, pixels(a));
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
        const SymbolRenderer::Frame frame =
            symbolFrame(messages[i], 0, 0, static_cast<std::uint64_t>(i));
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
        EXPECT_EQ(line.at("file"), args[i + 1]);
        EXPECT_EQ(line.at("ok"), true) << objects[i];
        EXPECT_EQ(line.at("text"), latin1ToUtf8(messages[i])) << objects[i];
        EXPECT_EQ(fromHex(line.at("bytes")), messages[i]) << objects[i];
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
    const SymbolRenderer::Frame frame = symbolFrame(message, 480, 320, 9);
    ASSERT_FALSE(frame.pixels.empty());
    // Bluish ink on yellowish paper: the channels differ, so the loader
    // must really turn colour into gray.
    std::vector<std::uint8_t> rgb;
    for (const std::uint8_t gray : frame.pixels) {
        rgb.push_back(gray);
        rgb.push_back(static_cast<std::uint8_t>(gray * 0.95));
        rgb.push_back(static_cast<std::uint8_t>(40 + gray * 0.3));
    }
    const int w = frame.width;
    const int h = frame.height;
    std::vector<std::string> files;
    const auto add = [&](const std::string& name, bool written) {
        ASSERT_TRUE(written) << name;
        files.push_back(dir.file(name));
    };
    add("colour.png", stbi_write_png(dir.file("colour.png").c_str(), w, h, 3, rgb.data(), w * 3));
    add("colour.jpg", stbi_write_jpg(dir.file("colour.jpg").c_str(), w, h, 3, rgb.data(), 90));
    add("gray.jpg", stbi_write_jpg(dir.file("gray.jpg").c_str(), w, h, 1, frame.pixels.data(), 90));
    add("colour.bmp", stbi_write_bmp(dir.file("colour.bmp").c_str(), w, h, 3, rgb.data()));
    add("colour.tga", stbi_write_tga(dir.file("colour.tga").c_str(), w, h, 3, rgb.data()));
    const std::string header = "P6\n" + std::to_string(w) + " " + std::to_string(h) + "\n255\n";
    add("colour.ppm",
        writeFile(dir.file("colour.ppm"), header + std::string(rgb.begin(), rgb.end())));

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
    const std::vector<std::vector<std::string>> misuse{
        {},
        {"--bogus", sample},
        {"--raw"},
        {"--raw", "0x10", "-"},
        {"--raw", "10x", "-"},
        {"--raw", "ax10", "-"},
        {"--time", "0", sample},
        {"--time", "many", sample},
        {"--time"},
        {"-"},
        {"--raw", "4x4", "-", "-"},
        {"--frames", "--time", "2", sample},
    };
    for (const auto& args : misuse) {
        std::string shown;
        for (const std::string& arg : args) {
            shown += " " + arg;
        }
        const auto run = runScanner(args, "0123456789abcdef");
        EXPECT_EQ(run.exitStatus, 2) << shown;
        EXPECT_EQ(run.out, "") << shown;
        EXPECT_FALSE(run.err.empty()) << shown;
    }
    // "--" ends the options: a file may be called --json.
    const auto dashed = runScanner({"--", "--json"});
    EXPECT_EQ(dashed.exitStatus, 2);
    EXPECT_TRUE(contains(dashed.err, "--json: cannot open")) << dashed.err;
}

} // namespace
} // namespace pdf417::test
