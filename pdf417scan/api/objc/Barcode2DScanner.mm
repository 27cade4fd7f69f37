#import "pdf417scan/api/objc/Barcode2DScanner.h"

#include "pdf417scan/api/Barcode2DScanner.h"

#include <string>

#if defined(__has_feature)
#if __has_feature(objc_arc)
#define PDF417SCAN_OBJC_ARC 1
#endif
#endif

@implementation Barcode2DScanner

- (instancetype)init {
    self = [super init];
    return self;
}

- (NSString *)scanGrayscaleImage:(char *)pixels Width:(int)width Height:(int)height {
    const std::string bytes = pdf417::Barcode2DScanner().scanGrayscaleImage(pixels, width, height);
    NSString *text = [[NSString alloc] initWithBytes:bytes.data()
                                              length:bytes.size()
                                            encoding:NSASCIIStringEncoding];
#if defined(PDF417SCAN_OBJC_ARC)
    return text;
#else
    return [text autorelease];
#endif
}

@end
