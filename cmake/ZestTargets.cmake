# Project-wide target conventions: strict warnings on everything we compile, and each src/
# folder as one position-independent static library.

function(zest_strict_warnings target)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4 /permissive- /Zc:__cplusplus)
  else()
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Werror)
  endif()
  target_compile_definitions(${target} PRIVATE QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII)
endfunction()

# zest_library(NAME SOURCES ... [PUBLIC_LIBS ...])
function(zest_library name)
  cmake_parse_arguments(arg "" "" "SOURCES;PUBLIC_LIBS" ${ARGN})
  add_library(${name} STATIC ${arg_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${name} PUBLIC ${arg_PUBLIC_LIBS})
  set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  zest_strict_warnings(${name})
endfunction()
