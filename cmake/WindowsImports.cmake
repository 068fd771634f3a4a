# Import libraries made from .def files with mingw-w64's dlltool: for functions that a Windows
# DLL takes from an executable (the host's) or by ordinal only (XInput).

find_program(ZEST_DLLTOOL NAMES x86_64-w64-mingw32-dlltool dlltool REQUIRED)

# zest_import_library(TARGET DEF_FILE): an imported library target for the .def's exports.
function(zest_import_library target def_file)
  set(library ${CMAKE_CURRENT_BINARY_DIR}/lib${target}.a)
  add_custom_command(OUTPUT ${library}
    COMMAND ${ZEST_DLLTOOL} --input-def ${def_file} --output-lib ${library}
    DEPENDS ${def_file}
    COMMENT "Import library ${target} from ${def_file}")
  add_custom_target(${target}_build DEPENDS ${library})
  add_library(${target} STATIC IMPORTED GLOBAL)
  set_target_properties(${target} PROPERTIES IMPORTED_LOCATION ${library})
  add_dependencies(${target} ${target}_build)
endfunction()
