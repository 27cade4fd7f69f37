#pragma once

#include <string>

namespace pdf417 {

// The scanning entry: hand it an 8-bit grayscale frame, get back the message
// of the PDF417 symbol it shows. Each call is independent and runs
// synchronously on the caller's thread; one scanner may serve any number of
// frames and, since it keeps no state, any number of threads.
class Barcode2DScanner {
public:
    // `pixels` holds width × height bytes, row by row from the top, each row
    // left to right, no padding; one byte is one gray level. Nothing is
    // checked: the buffer must really be that large (pdf417::scan in
    // pdf417scan/api/Scan.h is the checked alternative).
    //
    // The frame is read as it is and, if that yields no bytes, once more
    // turned 90 degrees clockwise, so symbols lying either way are found; a
    // symbol upside down reads as it is.
    //
    // Returns the decoded bytes unchanged, one char per byte, or an empty
    // string when nothing was read (a symbol carrying no data also gives an
    // empty string). The bytes are the message as ASCII when the symbol holds
    // text: text and numeric compaction only ever produce ASCII. Bytes above
    // 127 come only from byte compaction and are passed through as they are;
    // they are not decoded in any character set, so their meaning (Latin-1,
    // UTF-8, binary) is whatever the symbol's producer put there.
    std::string scanGrayscaleImage(const char* pixels, int width, int height) const;
};

} // namespace pdf417
