# The zip a Windows user installs from (cpack, or the "package" target): the plug-in's DLL, the
# DLLs it needs that Windows lacks, how to install it, and the notices of what it bundles.

# Where Qt's and the compiler's DLLs are: the bundle takes them from here, the tests run with them.
get_target_property(qt_core_dll Qt6::Core IMPORTED_LOCATION_RELEASE)
get_filename_component(qt_bin "${qt_core_dll}" DIRECTORY)
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-search-dirs OUTPUT_VARIABLE search_dirs)
string(REGEX MATCH "libraries: =?([^\n]*)" search_dirs "${search_dirs}")
set(compiler_dirs "${CMAKE_MATCH_1}")
if(NOT CMAKE_HOST_WIN32)
  string(REPLACE ":" ";" compiler_dirs "${compiler_dirs}")
endif()
set(ZEST_WINDOWS_DLL_FOLDERS "${qt_bin}")
foreach(dir IN LISTS compiler_dirs)
  get_filename_component(dir "${dir}" REALPATH)
  if(IS_DIRECTORY "${dir}")
    list(APPEND ZEST_WINDOWS_DLL_FOLDERS "${dir}")
  endif()
endforeach()
list(REMOVE_DUPLICATES ZEST_WINDOWS_DLL_FOLDERS)

install(TARGETS zestworks_gamepad RUNTIME DESTINATION .)
install(CODE "
  include(\"${PROJECT_SOURCE_DIR}/cmake/BundleRuntime.cmake\")
  zest_bundle_runtime(\"$<TARGET_FILE:zestworks_gamepad>\" \"${CMAKE_OBJDUMP}\" \"${CMAKE_STRIP}\"
                      \"${ZEST_WINDOWS_DLL_FOLDERS}\")")

# The version of Debian's qt6-base that QtCore was built from (scripts/windows.sh passes it).
if(NOT ZEST_QT_SOURCE_VERSION)
  set(ZEST_QT_SOURCE_VERSION "${Qt6Core_VERSION}")
endif()
foreach(text INSTALL NOTICES)
  configure_file(packaging/windows/${text}.txt.in ${text}.txt @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${text}.txt DESTINATION .)
endforeach()
# The full licence texts, from the machine's Debian documentation.
foreach(copy
    "/usr/share/common-licenses/LGPL-3=LGPL-3.txt"
    "/usr/share/common-licenses/GPL-3=GPL-3.txt"
    "/usr/share/doc/libqt6core6/copyright=qt6-base-copyright.txt"
    "/usr/share/doc/gcc-mingw-w64-x86-64-posix-runtime/copyright=gcc-runtime-copyright.txt"
    "/usr/share/doc/mingw-w64-x86-64-dev/copyright=mingw-w64-copyright.txt")
  string(REPLACE "=" ";" copy "${copy}")
  list(GET copy 0 from)
  list(GET copy 1 to)
  if(EXISTS "${from}")
    install(FILES "${from}" DESTINATION licenses RENAME "${to}")
  endif()
endforeach()

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_NAME io.zestworks.gamepad)
set(CPACK_PACKAGE_VENDOR zestworks)
set(CPACK_PACKAGE_FILE_NAME "io.zestworks.gamepad-${PROJECT_VERSION}-windows-x64")
set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY OFF)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(ZEST_WINDOWS_PACKAGE "${CMAKE_BINARY_DIR}/${CPACK_PACKAGE_FILE_NAME}.zip")
include(CPack)
