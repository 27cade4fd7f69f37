// The Objective-C entry as a host app sees it. GNUstep on GCC has no
// @autoreleasepool, hence the pools.
#import "pdf417scan/api/objc/Barcode2DScanner.h"

#include "pdf417scan/api/Barcode2DScanner.h"
#include "tests/support/MessageSymbol.h"
#include "tests/support/SymbolCase.h"

#include <gtest/gtest.h>

#include <objc/runtime.h>

#include <random>
#include <string>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
// GCC's Objective-C runtime keeps the tables it builds as classes load for
// the life of the process. Only those are no leak: a scan result never
// released still is. Matching by function name needs full stacks through
// libobjc, which has no frame pointers.
extern "C" const char *__lsan_default_suppressions() {
    return "leak:__objc_exec_class\nleak:class_addMethod\n";
}
extern "C" const char *__asan_default_options() { return "fast_unwind_on_malloc=0"; }
#endif

namespace {

// Drains what the scans autoreleased when the test ends.
class Pool {
  public:
    Pool() : pool_([[NSAutoreleasePool alloc] init]) {}
    ~Pool() { [pool_ drain]; }
    Pool(const Pool &) = delete;
    Pool &operator=(const Pool &) = delete;

  private:
    NSAutoreleasePool *pool_;
};

NSString *stringOf(const std::string &bytes, NSStringEncoding encoding) {
    return [[[NSString alloc] initWithBytes:bytes.data() length:bytes.size()
                                   encoding:encoding] autorelease];
}

bool same(NSString *a, NSString *b) {
    return a == nil ? b == nil : b != nil && [a isEqualToString:b];
}

TEST(Barcode2DScannerObjC, MethodTypeEncoding) {
    Method method = class_getInstanceMethod([Barcode2DScanner class],
                                            @selector(scanGrayscaleImage:Width:Height:));
    ASSERT_NE(method, nullptr);
    EXPECT_STREQ(method_getTypeEncoding(method), "@32@0:8*16i24i28");
    EXPECT_TRUE([[Barcode2DScanner class] isSubclassOfClass:[NSObject class]]);
}

// Nothing read gives an empty string, not nil; a message, quarter turned or
// not, the string the ASCII conversion makes of its bytes. Bytes above 127
// are handed to that conversion as they are, and whatever the platform makes
// of them is returned (nil on GNUstep), not their UTF-8 or Latin-1 reading.
TEST(Barcode2DScannerObjC, ReturnsWhatTheAsciiConversionMakesOfTheBytesRead) {
    Pool pool;
    Barcode2DScanner *scanner = [[Barcode2DScanner alloc] init];
    ASSERT_NE(scanner, nil);
    std::vector<char> gray(160 * 120, 100);
    for (const int size : {160, 0}) {
        NSString *text = [scanner scanGrayscaleImage:gray.data() Width:size Height:size * 3 / 4];
        EXPECT_TRUE(text != nil && [text isKindOfClass:[NSString class]] && [text length] == 0);
    }
    std::mt19937 rng(8);
    for (int turn = 0; turn < 5; ++turn) {
        std::string message = "Gr\xC3\xBC\xC3\x9F"
                              "e aus K\xC3\xB6ln: 2 \xC3\x97 3 \xE2\x82\xAC";
        pdf417::test::Pdf417Modules symbol;
        if (turn < 4) {
            ASSERT_TRUE(pdf417::test::encodeMessageSymbol(pdf417::test::MessageKind::Text, 12, 4, 3,
                                                          0.8, rng, message, symbol));
        } else {
            ASSERT_TRUE(pdf417::test::encodePdf417(message, {4, 3, 12}, symbol));
        }
        auto frame = pdf417::test::renderCase(symbol, {12, 4, 3.0, 90.0 * (turn % 4)});
        char *pixels = reinterpret_cast<char *>(frame.pixels.data());
        ASSERT_EQ(pdf417::Barcode2DScanner().scanGrayscaleImage(pixels, frame.width, frame.height),
                  message);
        NSString *ascii = stringOf(message, NSASCIIStringEncoding);
        if (turn == 4) {
            // The platform must tell the readings apart, or this proves nothing.
            ASSERT_FALSE(same(ascii, stringOf(message, NSUTF8StringEncoding)));
            ASSERT_FALSE(same(ascii, stringOf(message, NSISOLatin1StringEncoding)));
        }
        EXPECT_TRUE(
            same([scanner scanGrayscaleImage:pixels Width:frame.width Height:frame.height], ascii))
            << "case " << turn;
    }
    [scanner release];
}

} // namespace
