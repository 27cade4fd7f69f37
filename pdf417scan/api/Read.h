#pragma once

#include "pdf417scan/api/ImageView.h"
#include "pdf417scan/api/ReadOptions.h"
#include "pdf417scan/api/ReadResult.h"

namespace pdf417 {

// Reads the PDF417 symbol a frame shows. The arguments are checked first: a
// null buffer, a non-positive size, a row stride smaller than a row, a
// buffer smaller than the frame it claims or an unknown pixel format are
// refused with their status before any pixel is read. Each call stands alone;
// a video feed is better served by FrameReader, which pools frames.
ReadResult read(const ImageView& frame, const ReadOptions& options = ReadOptions());

} // namespace pdf417
