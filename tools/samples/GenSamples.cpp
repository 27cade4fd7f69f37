// Draws the bundled sample frames: PDF417 symbols encoded by libzint and
// rendered the way a phone camera sees them (1280x720, blur, noise, uneven
// light, turned), each written as <name>.png with its message as <name>.txt.
// Everything is seeded, so the same program writes the same files.
//
// Usage: gen_samples <output directory>

#include "tests/support/ModuleGrid.h"
#include "tests/support/SymbolRenderer.h"
#include "tests/support/ZintPdf417.h"

#include <stb_image_write.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

namespace {

using pdf417::test::SymbolRenderer;

struct Sample {
    const char* name;
    std::string message;
    int dataColumns;
    SymbolRenderer::Options options;
};

SymbolRenderer::Options camera(double moduleWidth, double rotationDegrees, std::uint64_t seed) {
    SymbolRenderer::Options options;
    options.frameWidth = 1280;
    options.frameHeight = 720;
    options.moduleWidth = moduleWidth;
    options.rotationDegrees = rotationDegrees;
    options.quietZone = 3.0;
    options.ink = 40.0;
    options.paper = 205.0;
    options.background = 95.0; // the desk around the paper
    options.blurSigma = 0.7;
    options.seed = seed;
    return options;
}

std::vector<Sample> samples() {
    std::vector<Sample> list;

    list.push_back({"hello", "Hello from pdf417scan!", 4, camera(4.0, 0.0, 1)});

    // An identity-card record, one field per line.
    SymbolRenderer::Options licence = camera(3.5, 0.0, 2);
    licence.lighting.gradientX = 0.25;
    licence.lighting.vignette = 0.2;
    licence.noiseSigma = 2.0;
    list.push_back({"licence",
                    "DL\nDCS:MUSTERMANN\nDAC:ERIKA\nDBB:19840812\nDBA:20310812\n"
                    "DAG:12 HIGH STREET\nDAI:SPRINGFIELD\nDAQ:D12345678",
                    6, licence});

    SymbolRenderer::Options digits = camera(4.0, 0.0, 3);
    digits.blurSigma = 1.2;
    list.push_back({"digits", "4006381333931700123456789012345678901234567890", 3, digits});

    list.push_back({"tilted", "Tilted by six degrees", 4, camera(4.0, 6.0, 4)});

    list.push_back({"upside-down", "Read upside down", 4, camera(4.0, 180.0, 5)});

    list.push_back({"sideways", "Turned a quarter", 3, camera(4.0, 90.0, 6)});
    return list;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: gen_samples <output directory>\n";
        return 2;
    }
    const std::string dir = argv[1];
    SymbolRenderer renderer;
    for (const Sample& sample : samples()) {
        pdf417::test::ZintOptions zint;
        zint.dataColumns = sample.dataColumns;
        pdf417::test::Pdf417Modules symbol;
        std::string error;
        if (!pdf417::test::encodePdf417(sample.message, zint, symbol, &error)) {
            std::cerr << "gen_samples: " << sample.name << ": " << error << "\n";
            return 1;
        }
        const SymbolRenderer::Frame frame =
            renderer.render(pdf417::test::ModuleGrid(symbol), sample.options);

        const std::string base = dir + "/" + sample.name;
        if (stbi_write_png((base + ".png").c_str(), frame.width, frame.height, 1,
                           frame.pixels.data(), frame.width) == 0) {
            std::cerr << "gen_samples: cannot write " << base << ".png\n";
            return 1;
        }
        std::ofstream text(base + ".txt", std::ios::binary);
        text << sample.message;
        if (!text) {
            std::cerr << "gen_samples: cannot write " << base << ".txt\n";
            return 1;
        }
        std::cout << base << ".png: " << symbol.rows << " rows, " << symbol.dataColumns
                  << " data columns\n";
    }
    return 0;
}
