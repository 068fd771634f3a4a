# Import libraries made from .def files: for functions that a Windows DLL takes from an
# executable (the host's) or by ordinal only (XInput). MinGW's dlltool makes them, or MSVC's lib.

if(MSVC)
  set(ZEST_IMPORT_TOOL ${CMAKE_AR})
else()
  find_program(ZEST_IMPORT_TOOL NAMES x86_64-w64-mingw32-dlltool dlltool REQUIRED)
endif()

# zest_import_library(TARGET DEF_FILE): an imported library target for the .def's exports.
function(zest_import_library target def_file)
  if(MSVC)
    set(library ${CMAKE_CURRENT_BINARY_DIR}/${target}.lib)
    set(make_library ${ZEST_IMPORT_TOOL} /nologo /machine:x64 /def:${def_file} /out:${library})
  else()
    set(library ${CMAKE_CURRENT_BINARY_DIR}/lib${target}.a)
    set(make_library ${ZEST_IMPORT_TOOL} --input-def ${def_file} --output-lib ${library})
  endif()
  add_custom_command(OUTPUT ${library}
    COMMAND ${make_library}
    DEPENDS ${def_file}
    COMMENT "Import library ${target} from ${def_file}")
  add_custom_target(${target}_build DEPENDS ${library})
  add_library(${target} STATIC IMPORTED GLOBAL)
  set_target_properties(${target} PROPERTIES IMPORTED_LOCATION ${library})
  add_dependencies(${target} ${target}_build)
endfunction()
