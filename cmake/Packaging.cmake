# Installation: the library and its headers, a CMake package
# (find_package(pdf417scan) gives pdf417scan::pdf417scan, plus pdf417scan::objc
# when the Objective-C entry was built), a pkg-config file and the scanner.
include(CMakePackageConfigHelpers)

set(PDF417SCAN_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/pdf417scan)

install(TARGETS pdf417scan EXPORT pdf417scanTargets
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# Headers keep their paths in the tree: include/pdf417scan/<folder>/<Class>.h.
# The generated pattern table (.inc) is needed only by the library's sources.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/pdf417scan/
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/pdf417scan
    FILES_MATCHING PATTERN "*.h"
    PATTERN "objc" EXCLUDE)

if(PDF417SCAN_HAVE_OBJC)
    # The Foundation target carries the compile and link flags found at
    # configure time, so consumers of pdf417scan::objc need no search.
    set_target_properties(pdf417scan_objc PROPERTIES EXPORT_NAME objc)
    set_target_properties(pdf417scan_foundation PROPERTIES EXPORT_NAME foundation)
    install(TARGETS pdf417scan_objc pdf417scan_foundation EXPORT pdf417scanTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    install(FILES ${PROJECT_SOURCE_DIR}/pdf417scan/api/objc/Barcode2DScanner.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/pdf417scan/api/objc)
endif()

install(EXPORT pdf417scanTargets
    NAMESPACE pdf417scan::
    DESTINATION ${PDF417SCAN_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/pdf417scanConfig.cmake.in
    ${PROJECT_BINARY_DIR}/pdf417scanConfig.cmake
    INSTALL_DESTINATION ${PDF417SCAN_CMAKE_DIR})
# Before 1.0 a minor release may change the interface.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/pdf417scanConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/pdf417scanConfig.cmake
    ${PROJECT_BINARY_DIR}/pdf417scanConfigVersion.cmake
    DESTINATION ${PDF417SCAN_CMAKE_DIR})

# The .pc file finds the prefix from its own place, so the tree may be
# installed with `cmake --install --prefix` anywhere, or moved.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" OR IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
    set(PDF417SCAN_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
    set(PDF417SCAN_PC_LIBDIR "${CMAKE_INSTALL_FULL_LIBDIR}")
    set(PDF417SCAN_PC_INCLUDEDIR "${CMAKE_INSTALL_FULL_INCLUDEDIR}")
else()
    file(RELATIVE_PATH up "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
    string(REGEX REPLACE "/$" "" up "${up}")
    set(PDF417SCAN_PC_PREFIX "\${pcfiledir}/${up}")
    set(PDF417SCAN_PC_LIBDIR "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
    set(PDF417SCAN_PC_INCLUDEDIR "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()
# An iconv library of its own: a static pdf417scan needs it on every link.
set(PDF417SCAN_PC_LIBS "")
set(PDF417SCAN_PC_LIBS_PRIVATE "")
if(PDF417SCAN_ICONV_LIBRARY AND BUILD_SHARED_LIBS)
    set(PDF417SCAN_PC_LIBS_PRIVATE " ${Iconv_LIBRARY}")
elseif(PDF417SCAN_ICONV_LIBRARY)
    set(PDF417SCAN_PC_LIBS " ${Iconv_LIBRARY}")
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/pdf417scan.pc.in ${PROJECT_BINARY_DIR}/pdf417scan.pc
    @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/pdf417scan.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(TARGET pdf417scan_cli)
    if(BUILD_SHARED_LIBS)
        # The installed scanner finds the shared library beside it.
        file(RELATIVE_PATH bin_to_lib "/prefix/${CMAKE_INSTALL_BINDIR}"
             "/prefix/${CMAKE_INSTALL_LIBDIR}")
        if(APPLE)
            set_target_properties(pdf417scan_cli PROPERTIES
                INSTALL_RPATH "@loader_path/${bin_to_lib}")
        else()
            set_target_properties(pdf417scan_cli PROPERTIES INSTALL_RPATH "$ORIGIN/${bin_to_lib}")
        endif()
    endif()
    install(TARGETS pdf417scan_cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
