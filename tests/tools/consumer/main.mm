// An Objective-C++ program built against the installed pdf417scan::objc.
#import "pdf417scan/api/objc/Barcode2DScanner.h"

#include <cstdio>
#include <vector>

int main() {
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
    Barcode2DScanner *scanner = [[Barcode2DScanner alloc] init];
    std::vector<char> paper(160 * 120, static_cast<char>(200));
    NSString *text = [scanner scanGrayscaleImage:paper.data() Width:160 Height:120];
    const bool empty = text != nil && [text length] == 0;
    [scanner release];
    [pool drain];
    if (!empty) {
        std::printf("unexpected result\n");
        return 1;
    }
    std::printf("objc consumer: empty string for a blank frame\n");
    return 0;
}
