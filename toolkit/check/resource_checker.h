// Checks of the resources of a model folder: segmentation files, pinyin, and the
// scrambled record files. Each walks its whole file and reports every position that
// the format does not allow. Free functions without state.
#pragma once

#include "toolkit/check/file_report.h"

namespace koralite::toolkit {

enum class SegmentKind { kWords, kNames, kAmbiguous };
void check_segment_file(FileReport report, SegmentKind kind);

void check_pinyin_file(FileReport report);

// kSorted: lines in ascending order, such as the words that are no names.
enum class RecordKind { kRules, kEntities, kRecase, kSorted };
void check_record_file(FileReport report, RecordKind kind);

}  // namespace koralite::toolkit
