# Installs the build tree into a scratch prefix and builds small programs
# against it, as a user of the package would.
#
#   cmake -DSTEP=<install|find_package|pkg_config> -DBUILD_DIR=... -DPREFIX=...
#         -DWORK_DIR=... -DSOURCE_DIR=... -DCXX=... -DCXX_FLAGS=... -DLINK_FLAGS=...
#         [-DOBJCXX=... for the objc component] [-DVERSION=...] -P InstallTest.cmake

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

elseif(STEP STREQUAL "find_package")
    # One project: the C++ consumer, and the Objective-C++ one when the
    # package has the objc component.
    set(objc "")
    if(OBJCXX)
        set(objc -DWITH_OBJC=ON "-DCMAKE_OBJCXX_COMPILER=${OBJCXX}")
    endif()
    file(REMOVE_RECURSE "${WORK_DIR}")
    run(${CMAKE_COMMAND} -S "${CMAKE_CURRENT_LIST_DIR}/consumer" -B "${WORK_DIR}"
        "-DCMAKE_PREFIX_PATH=${PREFIX}"
        "-DEXPECTED_VERSION=${VERSION}"
        "-DCMAKE_CXX_COMPILER=${CXX}"
        "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
        "-DCMAKE_EXE_LINKER_FLAGS=${LINK_FLAGS}"
        ${objc})
    run(${CMAKE_COMMAND} --build "${WORK_DIR}")
    run("${WORK_DIR}/app")
    expect_output("consumer: no symbol found, null pixel buffer")
    if(OBJCXX)
        # CMake knows no Linux rpath rules for Objective-C++ links, so a
        # shared library is found the way a user would point at it.
        library_path(env)
        # Under the sanitizers: the runtime's own start-up tables are no leak
        # of ours.
        run(${CMAKE_COMMAND} -E env ${env}
            "LSAN_OPTIONS=suppressions=${CMAKE_CURRENT_LIST_DIR}/gnustep-leaks.supp"
            "${WORK_DIR}/objc_app")
        expect_output("objc consumer: empty string")
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
    # Every installed header together, then the consumer, in one unit: the
    # headers are complete (none needs a file left behind) and warning-free
    # with the flags pkg-config gives, and the program links and runs.
    file(GLOB_RECURSE headers RELATIVE "${PREFIX}/include" "${PREFIX}/include/pdf417scan/*.h")
    list(FILTER headers EXCLUDE REGEX "/objc/")
    set(unit "")
    foreach(header IN LISTS headers)
        string(APPEND unit "#include \"${header}\"\n")
    endforeach()
    string(APPEND unit "#include \"${CMAKE_CURRENT_LIST_DIR}/consumer/main.cpp\"\n")
    file(WRITE "${WORK_DIR}/app.cpp" "${unit}")
    run(${CXX} -std=c++17 -Wall -Wextra -Wpedantic -Werror ${cxx_flags} ${cflags}
        "${WORK_DIR}/app.cpp" -o "${WORK_DIR}/app" ${libs} ${link_flags})
    # Like any library in an unusual prefix, a shared one needs showing.
    library_path(env)
    run(${CMAKE_COMMAND} -E env ${env} "${WORK_DIR}/app")
    expect_output("consumer: no symbol found, null pixel buffer")

else()
    message(FATAL_ERROR "unknown STEP '${STEP}'")
endif()
