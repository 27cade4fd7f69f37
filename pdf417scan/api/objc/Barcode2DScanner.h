#import <Foundation/Foundation.h>

// The scanning entry for Objective-C hosts (phone apps), over the C++
// pdf417::Barcode2DScanner: same reading, the message returned as an NSString.
@interface Barcode2DScanner : NSObject

- (instancetype)init;

// `pixels` holds width × height bytes of 8-bit gray, row by row from the top,
// no padding; nothing is checked. The frame is read as it is and, failing
// that, turned 90 degrees clockwise. Returns the message as an autoreleased
// string made from its bytes as ASCII; an empty string (never nil) when
// nothing was read. A message with bytes above 127 (binary byte compaction)
// is handed to the ASCII conversion as it is: whatever the platform makes of
// it is returned, which on some Foundations is nil.
- (NSString *)scanGrayscaleImage:(char *)pixels Width:(int)width Height:(int)height;

@end
