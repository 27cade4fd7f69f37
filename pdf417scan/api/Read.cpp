#include "pdf417scan/api/Read.h"

#include "pdf417scan/api/FrameReader.h"

namespace pdf417 {

ReadResult read(const ImageView& frame, const ReadOptions& options) {
    // Refusals before the reader's working storage is allocated.
    const ReadStatus status = FrameReader::check(frame);
    if (status != ReadStatus::Read) {
        ReadResult refused;
        refused.status = status;
        return refused;
    }
    return FrameReader(options).read(frame);
}

} // namespace pdf417
