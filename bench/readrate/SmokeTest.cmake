# Generates a few frames of every corpus, reads them with readrate and checks
# the report: every file written, every frame accounted for, something read,
# no wrong read through pdf417::read (readrate's --fail-on-wrong), and every
# wrong read through the specified entry one its decoder makes by design.
# Run by ctest with SYNTH, READRATE and WORK set.
cmake_policy(SET CMP0007 NEW)
foreach(var SYNTH READRATE WORK)
    if(NOT DEFINED ${var})
        message(FATAL_ERROR "${var} is not set")
    endif()
endforeach()
file(REMOVE_RECURSE "${WORK}")

set(kinds camera crisp edge damage standard empty)
set(frames_camera 4)
set(frames_crisp 3)
set(frames_edge 3)
set(frames_damage 2)
set(frames_standard 4)
set(frames_empty 2)
set(total 0)
set(corpus_args)
foreach(kind IN LISTS kinds)
    execute_process(COMMAND "${SYNTH}" --kind ${kind} --out "${WORK}/${kind}" --seed 7
            --frames ${frames_${kind}} --frames-1080 0
        RESULT_VARIABLE rc ERROR_VARIABLE err)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "synth --kind ${kind} failed (${rc}): ${err}")
    endif()
    math(EXPR total "${total} + ${frames_${kind}}")
    list(APPEND corpus_args --corpus "${WORK}/${kind}")
endforeach()

execute_process(COMMAND "${READRATE}" ${corpus_args} --out "${WORK}/report" --repeat 1
        --no-plots --fail-on-wrong
    RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(rc EQUAL 3)
    message(FATAL_ERROR "readrate saw wrong reads through pdf417::read:\n${out}")
elseif(NOT rc EQUAL 0)
    message(FATAL_ERROR "readrate failed (${rc}): ${err}")
endif()
if(err MATCHES "differently")
    message(FATAL_ERROR "the staged reading disagrees with the specified entry: ${err}")
endif()

foreach(file report.md frames.tsv plots.gp readrate-camera-module-size.dat
        readrate-damage-damage.dat readrate-edge-cut.dat frame-times.dat)
    if(NOT EXISTS "${WORK}/report/${file}")
        message(FATAL_ERROR "readrate wrote no ${file}")
    endif()
endforeach()

file(STRINGS "${WORK}/report/frames.tsv" rows)
list(LENGTH rows count)
math(EXPR expected "${total} + 1")
if(NOT count EQUAL expected)
    message(FATAL_ERROR "frames.tsv has ${count} lines, expected a header and ${total} frames")
endif()
list(FILTER rows INCLUDE REGEX "\tread\t")
list(LENGTH rows read)
if(read EQUAL 0)
    message(FATAL_ERROR "not one frame of the smoke corpora was read")
endif()

file(READ "${WORK}/report/report.md" report)
foreach(kind IN LISTS kinds)
    string(FIND "${report}" "| ${kind} | ${frames_${kind}} |" at)
    if(at EQUAL -1)
        message(FATAL_ERROR "the headline has no row for ${kind} with its ${frames_${kind}} frames")
    endif()
endforeach()
foreach(needle "None: every wrong read is one of the rules above."
        "## Wrong reads through `pdf417::read`\n\nNone." "### Module size (pixels)"
        "### Where the time goes" "### Damage")
    string(FIND "${report}" "${needle}" at)
    if(at EQUAL -1)
        message(FATAL_ERROR "report.md lacks '${needle}'")
    endif()
endforeach()
message(STATUS "readrate smoke: ${read} of ${total} frames read")
