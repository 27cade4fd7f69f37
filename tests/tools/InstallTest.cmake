# Installs the build tree into a scratch prefix and builds small programs
# against it, as a user of the package would.
#
#   cmake -DSTEP=<install|find_package|pkg_config|objc> -DBUILD_DIR=... -DPREFIX=...
#         -DWORK_DIR=... -DSOURCE_DIR=... -DCXX=... -DCXX_FLAGS=... -DLINK_FLAGS=...
#         [-DOBJCXX=...] [-DVERSION=...] -P InstallTest.cmake

cmake_minimum_required(VERSION 3.25)

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE out)
    if(NOT status EQUAL 0)
        list(JOIN ARGN " " shown)
        message(FATAL_ERROR "failed (${status}): ${shown}\n${out}")
    endif()
    set(run_output "${out}" PARENT_SCOPE)
endfunction()

function(expect_output text)
    string(FIND "${run_output}" "${text}" at)
    if(at EQUAL -1)
        message(FATAL_ERROR "expected '${text}' in:\n${run_output}")
    endif()
endfunction()

# LD_LIBRARY_PATH=<the installed library's directory> for running programs
# linked against a shared pdf417scan without an rpath.
function(library_path out)
    file(GLOB_RECURSE library "${PREFIX}/*/libpdf417scan.*")
    list(GET library 0 library)
    get_filename_component(dir "${library}" DIRECTORY)
    set(${out} "LD_LIBRARY_PATH=${dir}" PARENT_SCOPE)
endfunction()

# The flags of the build under test (the sanitizers' among them) must reach
# the consumers, or they cannot link against its library.
separate_arguments(cxx_flags UNIX_COMMAND "${CXX_FLAGS}")
separate_arguments(link_flags UNIX_COMMAND "${LINK_FLAGS}")

if(STEP STREQUAL "install")
    file(REMOVE_RECURSE "${PREFIX}")
    run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${PREFIX}")

    file(GLOB_RECURSE config "${PREFIX}/*/pdf417scanConfig.cmake")
    file(GLOB_RECURSE version "${PREFIX}/*/pdf417scanConfigVersion.cmake")
    file(GLOB_RECURSE pc "${PREFIX}/*/pdf417scan.pc")
    file(GLOB_RECURSE library "${PREFIX}/*/libpdf417scan.*")
    foreach(needed IN ITEMS config version pc library)
        if(NOT ${needed})
            message(FATAL_ERROR "nothing installed for ${needed}")
        endif()
    endforeach()
    foreach(header IN ITEMS api/Read.h imaging/Image.h reader/PDF417Reader.h ecc/RS929Encoder.h)
        if(NOT EXISTS "${PREFIX}/include/pdf417scan/${header}")
            message(FATAL_ERROR "header ${header} not installed")
        endif()
    endforeach()
    file(GLOB_RECURSE inc "${PREFIX}/*.inc")
    if(inc)
        message(FATAL_ERROR "private files installed: ${inc}")
    endif()
    # Our warning flags are for our own build only.
    file(GLOB exports "${PREFIX}/*/cmake/pdf417scan/*.cmake")
    foreach(export IN LISTS exports)
        file(READ "${export}" content)
        if(content MATCHES "warnings|-Werror|-Wall")
            message(FATAL_ERROR "${export} exports the build's warning settings")
        endif()
    endforeach()

    # The installed scanner runs where it was installed (and, when shared,
    # finds its library).
    run("${PREFIX}/bin/pdf417scan" "${SOURCE_DIR}/samples/hello.png")
    file(READ "${SOURCE_DIR}/samples/hello.txt" expected)
    if(NOT run_output STREQUAL "${expected}\n")
        message(FATAL_ERROR "installed scanner printed:\n${run_output}")
    endif()

elseif(STEP STREQUAL "find_package" OR STEP STREQUAL "objc")
    if(STEP STREQUAL "objc")
        set(source "${CMAKE_CURRENT_LIST_DIR}/consumer-objc")
        set(extra "-DCMAKE_OBJCXX_COMPILER=${OBJCXX}")
        set(program objc_app)
        set(expected "objc consumer: empty string")
    else()
        set(source "${CMAKE_CURRENT_LIST_DIR}/consumer")
        set(extra "")
        set(program app)
        set(expected "consumer: no symbol found, 2 codewords corrected")
    endif()
    file(REMOVE_RECURSE "${WORK_DIR}")
    run(${CMAKE_COMMAND} -S "${source}" -B "${WORK_DIR}"
        "-DCMAKE_PREFIX_PATH=${PREFIX}"
        "-DCMAKE_CXX_COMPILER=${CXX}"
        "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
        "-DCMAKE_EXE_LINKER_FLAGS=${LINK_FLAGS}"
        ${extra})
    run(${CMAKE_COMMAND} --build "${WORK_DIR}")
    if(STEP STREQUAL "objc")
        # CMake knows no Linux rpath rules for Objective-C++ links, so a
        # shared library is found the way a user would point at it.
        library_path(env)
        # Under the sanitizers: the runtime's own start-up tables are no leak
        # of ours.
        run(${CMAKE_COMMAND} -E env ${env}
            "LSAN_OPTIONS=suppressions=${CMAKE_CURRENT_LIST_DIR}/gnustep-leaks.supp"
            "${WORK_DIR}/${program}")
    else()
        run("${WORK_DIR}/${program}")
    endif()
    expect_output("${expected}")

    if(STEP STREQUAL "find_package")
        # The version file: this release matches 0.1 requests, not newer ones.
        set(probe "${WORK_DIR}/version-probe")
        file(WRITE "${probe}/CMakeLists.txt"
             "cmake_minimum_required(VERSION 3.16)\n"
             "project(probe NONE)\n"
             "find_package(pdf417scan ${VERSION} EXACT REQUIRED)\n"
             "find_package(pdf417scan 99.0 QUIET)\n"
             "if(pdf417scan_FOUND)\n"
             "    message(FATAL_ERROR \"version 99.0 accepted\")\n"
             "endif()\n")
        run(${CMAKE_COMMAND} -S "${probe}" -B "${probe}/build" "-DCMAKE_PREFIX_PATH=${PREFIX}")
    endif()

elseif(STEP STREQUAL "pkg_config")
    find_program(PKG_CONFIG NAMES pkg-config pkgconf REQUIRED)
    file(GLOB_RECURSE pc "${PREFIX}/*/pdf417scan.pc")
    get_filename_component(pc_dir "${pc}" DIRECTORY)
    set(ENV{PKG_CONFIG_PATH} "${pc_dir}")
    run(${PKG_CONFIG} --modversion pdf417scan)
    string(STRIP "${run_output}" modversion)
    if(NOT modversion STREQUAL VERSION)
        message(FATAL_ERROR "pkg-config reports version '${modversion}', not ${VERSION}")
    endif()
    run(${PKG_CONFIG} --cflags pdf417scan)
    separate_arguments(cflags UNIX_COMMAND "${run_output}")
    run(${PKG_CONFIG} --libs pdf417scan)
    separate_arguments(libs UNIX_COMMAND "${run_output}")

    file(REMOVE_RECURSE "${WORK_DIR}")
    file(MAKE_DIRECTORY "${WORK_DIR}")
    # The installed headers are complete (none needs a file left behind)
    # and warning-free with the flags pkg-config gives.
    file(GLOB_RECURSE headers RELATIVE "${PREFIX}/include" "${PREFIX}/include/pdf417scan/*.h")
    list(FILTER headers EXCLUDE REGEX "/objc/")
    set(unit "")
    foreach(header IN LISTS headers)
        string(APPEND unit "#include \"${header}\"\n")
    endforeach()
    file(WRITE "${WORK_DIR}/headers.cpp" "${unit}")
    run(${CXX} -std=c++17 -Wall -Wextra -Wpedantic -Werror -fsyntax-only ${cflags}
        "${WORK_DIR}/headers.cpp")

    run(${CXX} -std=c++17 ${cxx_flags} "${CMAKE_CURRENT_LIST_DIR}/consumer/main.cpp"
        -o "${WORK_DIR}/app" ${cflags} ${libs} ${link_flags})
    # Like any library in an unusual prefix, a shared one needs showing.
    library_path(env)
    run(${CMAKE_COMMAND} -E env ${env} "${WORK_DIR}/app")
    expect_output("consumer: no symbol found, 2 codewords corrected")

else()
    message(FATAL_ERROR "unknown STEP '${STEP}'")
endif()
