# Runs the codeword table generator for one check.
#   MODE=up_to_date: regenerate into WORK_DIR and compare with COMMITTED.
#   any other MODE: break one line of INPUT in a known way and expect the
#   generator to refuse it with the matching message.
cmake_minimum_required(VERSION 3.25)

if(MODE STREQUAL "up_to_date")
    set(output ${WORK_DIR}/CodeWordPatterns.inc)
    execute_process(COMMAND ${GENERATOR} ${INPUT} ${output} RESULT_VARIABLE rc)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "the generator failed on ${INPUT}")
    endif()
    execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${output} ${COMMITTED}
                    RESULT_VARIABLE differs)
    if(differs)
        message(FATAL_ERROR "${COMMITTED} is out of date with ${INPUT}; "
                            "build the target regenerate_codeword_tables and commit the result")
    endif()
    return()
endif()

# Each mutation: the line as it is, the line as broken, the expected message.
if(MODE STREQUAL "bad_width")
    set(from "0\t0\t3 1 1 1 1 1 3 6\n")
    set(to "0\t0\t3 1 1 1 1 1 3 5\n")
    set(expected "16 modules wide, not 17")
elseif(MODE STREQUAL "bad_cluster")
    set(from "0\t1\t4 1 1 1 1 1 4 4\n")
    set(to "3\t1\t4 1 1 1 1 1 4 4\n")
    set(expected "belongs to cluster 0, not 3")
elseif(MODE STREQUAL "shared_key")
    # Same key as value 0 (4,2,2,2,2,4), still 17 modules.
    set(from "0\t1\t4 1 1 1 1 1 4 4\n")
    set(to "0\t1\t3 1 1 1 1 1 3 6\n")
    set(expected "share the key 0x422224")
elseif(MODE STREQUAL "repeated_value")
    set(from "0\t1\t4 1 1 1 1 1 4 4\n")
    set(to "0\t0\t4 1 1 1 1 1 4 4\n")
    set(expected "value 0 appears twice")
else()
    message(FATAL_ERROR "unknown MODE ${MODE}")
endif()

file(READ ${INPUT} content)
string(REPLACE "${from}" "${to}" broken "${content}")
if(broken STREQUAL content)
    message(FATAL_ERROR "the line to break is not in ${INPUT}")
endif()
set(brokenInput ${WORK_DIR}/broken-${MODE}.tsv)
file(WRITE ${brokenInput} "${broken}")
execute_process(COMMAND ${GENERATOR} ${brokenInput} ${WORK_DIR}/broken-${MODE}.inc
                RESULT_VARIABLE rc ERROR_VARIABLE errors)
if(rc EQUAL 0)
    message(FATAL_ERROR "the generator accepted a broken table (${MODE})")
endif()
string(FIND "${errors}" "${expected}" at)
if(at EQUAL -1)
    message(FATAL_ERROR "expected \"${expected}\" from the generator, got: ${errors}")
endif()
