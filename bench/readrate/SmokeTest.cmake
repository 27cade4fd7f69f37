# Generates a 12-frame corpus, reads it with readrate and checks the report:
# every file written, every frame accounted for, something read, nothing
# read wrongly but by the decoder's deliberate byte-shift rule. Run by ctest with SYNTH, READRATE and WORK set.
foreach(var SYNTH READRATE WORK)
    if(NOT DEFINED ${var})
        message(FATAL_ERROR "${var} is not set")
    endif()
endforeach()
file(REMOVE_RECURSE "${WORK}")

execute_process(COMMAND "${SYNTH}" --out "${WORK}/corpus" --seed 7 --frames 12 --frames-1080 0
    RESULT_VARIABLE rc ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "synth failed (${rc}): ${err}")
endif()

execute_process(COMMAND "${READRATE}" --corpus "${WORK}/corpus" --out "${WORK}/report"
        --repeat 1 --no-plots --fail-on-wrong
    RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(rc EQUAL 3)
    message(FATAL_ERROR "readrate saw misreads:\n${out}")
elseif(NOT rc EQUAL 0)
    message(FATAL_ERROR "readrate failed (${rc}): ${err}")
endif()
if(err MATCHES "differently")
    message(FATAL_ERROR "the staged reading disagrees with the scanner: ${err}")
endif()

foreach(file report.md frames.tsv plots.gp readrate-module-size.dat frame-times.dat)
    if(NOT EXISTS "${WORK}/report/${file}")
        message(FATAL_ERROR "readrate wrote no ${file}")
    endif()
endforeach()

file(STRINGS "${WORK}/report/frames.tsv" rows)
list(LENGTH rows count)
if(NOT count EQUAL 13)
    message(FATAL_ERROR "frames.tsv has ${count} lines, expected a header and 12 frames")
endif()
list(FILTER rows INCLUDE REGEX "\tread\t")
list(LENGTH rows read)
if(read EQUAL 0)
    message(FATAL_ERROR "not one frame of the smoke corpus was read")
endif()

# Every wrong read must be the deliberate byte-shift rule's (the corpus holds a
# symbol that opens with a byte shift): as many wrong reads as the rule made.
file(READ "${WORK}/report/report.md" report)
string(REGEX MATCH "\\| Wrong reads \\(a message that differs\\) \\| ([0-9]+) \\|" _ "${report}")
set(wrong "${CMAKE_MATCH_1}")
string(REGEX MATCH "\\| of them by the deliberate byte-shift rule † \\| ([0-9]+) \\(of ([0-9]+) "
    _ "${report}")
if(wrong STREQUAL "" OR NOT wrong EQUAL CMAKE_MATCH_1 OR NOT CMAKE_MATCH_2 EQUAL 1)
    message(FATAL_ERROR "wrong reads beyond the byte-shift rule, or the rule's count is "
        "missing (wrong '${wrong}', by the rule '${CMAKE_MATCH_1}' of '${CMAKE_MATCH_2}')")
endif()
foreach(needle "| Frames without a symbol that read as something | 0 of 1 |"
        "### Module size (pixels)" "## Where the time goes")
    string(FIND "${report}" "${needle}" at)
    if(at EQUAL -1)
        message(FATAL_ERROR "report.md lacks '${needle}'")
    endif()
endforeach()
message(STATUS "readrate smoke: ${read} of 11 symbols read")
