#include "pdf417scan/api/ReadResult.h"

namespace pdf417 {

const char* describe(ReadStatus status) {
    switch (status) {
    case ReadStatus::Read:
        return "read";
    case ReadStatus::NothingFound:
        return "no symbol found";
    case ReadStatus::NullBuffer:
        return "null pixel buffer";
    case ReadStatus::BadSize:
        return "width and height must be positive";
    case ReadStatus::StrideTooSmall:
        return "row stride smaller than a row";
    case ReadStatus::BufferTooSmall:
        return "pixel buffer smaller than the frame";
    case ReadStatus::UnknownFormat:
        return "unknown pixel format";
    }
    return "unknown status";
}

} // namespace pdf417
