#pragma once

namespace pdf417 {

// One codeword read off a gray profile.
struct ProfileReading {
    int value = -1;          // 0..928; -1 when nothing was read
    int clusterIndex = -1;   // 0, 1, 2 for PDF417 clusters 0, 3, 6
    float confidence = 0.0f; // 0..1: how far every distance was from a rounding boundary
    float start = 0.0f;      // where the codeword's first bar begins, in samples
    float end = 0.0f;        // where the next codeword's first bar begins
};

// Reads a codeword from gray levels sampled evenly across it, below the
// pixel: the element boundaries are where the profile crosses a threshold,
// interpolated between samples, and the codeword is named by its six
// edge-to-similar-edge distances normalised by its own measured width, so
// that ink spread, blur and a module size a little off all cancel. Several
// thresholds are tried, for elements that blur has thinned.
class ProfileDecoder {
public:
    // `profile` holds `count` samples, samplesPerModule per module, the
    // codeword expected to begin near sample expectedStart (within a module
    // and a half). clusterIndex 0..2 asks for a codeword of that cluster (a
    // symbol row's), -1 takes any.
    static bool decode(const float* profile, int count, float samplesPerModule, float expectedStart,
                       int clusterIndex, ProfileReading& out);
};

} // namespace pdf417
