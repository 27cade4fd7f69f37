# The Objective-C entry is built wherever a Foundation is available: on Apple
# platforms with the system's, elsewhere with GNUstep through GCC's
# Objective-C++ front end (Debian: gobjc++, libgnustep-base-dev). Sets
# PDF417SCAN_HAVE_OBJC and, when ON, the interface target pdf417scan_foundation.
option(PDF417SCAN_OBJC "Build the Objective-C entry when a Foundation is available" ON)
set(PDF417SCAN_HAVE_OBJC OFF)

if(PDF417SCAN_OBJC AND APPLE)
    include(CheckLanguage)
    check_language(OBJCXX)
    if(CMAKE_OBJCXX_COMPILER)
        enable_language(OBJCXX)
        add_library(pdf417scan_foundation INTERFACE)
        target_link_libraries(pdf417scan_foundation INTERFACE "-framework Foundation")
        set(PDF417SCAN_HAVE_OBJC ON)
    endif()
elseif(PDF417SCAN_OBJC AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    find_program(GNUSTEP_CONFIG gnustep-config)
    # GNUstep's runtime is GCC's libobjc, so Objective-C++ is compiled by the
    # same g++, which needs its Objective-C++ front end installed.
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-prog-name=cc1objplus
                    OUTPUT_VARIABLE OBJCXX_FRONT_END OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(GNUSTEP_CONFIG AND IS_ABSOLUTE "${OBJCXX_FRONT_END}" AND EXISTS "${OBJCXX_FRONT_END}")
        set(CMAKE_OBJCXX_COMPILER ${CMAKE_CXX_COMPILER})
        enable_language(OBJCXX)
        # CMake has no Linux platform rules for Objective-C++ and takes them
        # from C, which this project does not enable: without these a shared
        # pdf417scan_objc would have no soname and its users no rpath.
        foreach(rule IN ITEMS SHARED_LIBRARY_SONAME SHARED_LIBRARY_RUNTIME
                              SHARED_LIBRARY_RPATH_LINK EXECUTABLE_RUNTIME EXECUTABLE_RPATH_LINK)
            foreach(suffix IN ITEMS FLAG FLAG_SEP)
                if(NOT CMAKE_${rule}_OBJCXX_${suffix} AND DEFINED CMAKE_${rule}_CXX_${suffix})
                    set(CMAKE_${rule}_OBJCXX_${suffix} "${CMAKE_${rule}_CXX_${suffix}}")
                endif()
            endforeach()
        endforeach()
        execute_process(COMMAND ${GNUSTEP_CONFIG} --objc-flags
                        OUTPUT_VARIABLE GNUSTEP_OBJC_FLAGS OUTPUT_STRIP_TRAILING_WHITESPACE)
        execute_process(COMMAND ${GNUSTEP_CONFIG} --base-libs
                        OUTPUT_VARIABLE GNUSTEP_BASE_LIBS OUTPUT_STRIP_TRAILING_WHITESPACE)
        separate_arguments(GNUSTEP_OBJC_FLAGS UNIX_COMMAND "${GNUSTEP_OBJC_FLAGS}")
        separate_arguments(GNUSTEP_BASE_LIBS UNIX_COMMAND "${GNUSTEP_BASE_LIBS}")

        # Keep definitions and code-generation flags; include directories
        # become system ones so GNUstep's own warnings stay out of our build,
        # and its optimisation, debug and dependency flags are the build's own.
        set(compile_options "")
        set(include_dirs "")
        foreach(flag IN LISTS GNUSTEP_OBJC_FLAGS)
            if(flag MATCHES "^-I(.+)$")
                if(NOT CMAKE_MATCH_1 STREQUAL "." AND IS_DIRECTORY "${CMAKE_MATCH_1}")
                    list(APPEND include_dirs "${CMAKE_MATCH_1}")
                endif()
            elseif(flag MATCHES "^-(D|f|pthread)")
                list(APPEND compile_options "${flag}")
            endif()
        endforeach()

        add_library(pdf417scan_foundation INTERFACE)
        target_include_directories(pdf417scan_foundation SYSTEM INTERFACE ${include_dirs})
        target_compile_options(pdf417scan_foundation INTERFACE
            $<$<COMPILE_LANGUAGE:OBJCXX>:${compile_options}>)
        target_link_libraries(pdf417scan_foundation INTERFACE ${GNUSTEP_BASE_LIBS})
        set(PDF417SCAN_HAVE_OBJC ON)
    endif()
endif()

if(PDF417SCAN_HAVE_OBJC)
    # One compiler builds both languages, so unless Objective-C++ was given
    # flags of its own it takes the C++ ones: otherwise a build configured
    # with, say, sanitizer flags in CMAKE_CXX_FLAGS would leave the .mm files
    # uninstrumented.
    if(NOT CMAKE_OBJCXX_FLAGS)
        set(CMAKE_OBJCXX_FLAGS "${CMAKE_CXX_FLAGS}")
        foreach(config IN ITEMS DEBUG RELEASE RELWITHDEBINFO MINSIZEREL)
            set(CMAKE_OBJCXX_FLAGS_${config} "${CMAKE_CXX_FLAGS_${config}}")
        endforeach()
    endif()
    message(STATUS "pdf417scan: building the Objective-C entry")
else()
    message(STATUS "pdf417scan: no Objective-C++ compiler with a Foundation; Objective-C entry skipped")
endif()
