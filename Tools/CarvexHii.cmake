# Build rules that turn form sources (.vfr) and string files (.uni) into
# linkable packages.
#
# carvex_add_uni(<target> UNI <file.uni> [EXTRA <file.uni>...] OUTPUT_NAME <base>)
#   Runs carvex-unic and builds static library <target> from <base>Strings.cpp.
#   UNI declares the languages and the identifiers; each EXTRA file (for
#   example one translation file per language) may only add texts to them.
#   Generated in ${CMAKE_CURRENT_BINARY_DIR}/<target>/ (the library's PUBLIC
#   include folder): <base>Strings.h (array <base>Strings) and <base>StrDefs.h
#   (#define STR_... identifiers).
#
# carvex_add_vfr(<target> VFR <file.vfr> HEADERS <dir>... OUTPUT_NAME <base>
#                [STRINGS <uni-target>...] [DEFINES <NAME[=VALUE]>...])
#   Runs carvex-vfrc with -I for each HEADERS folder (and for the generated
#   folder of each STRINGS target, so the form source can include its
#   <base>StrDefs.h) and builds static library <target> from <base>Bin.cpp.
#   Generated in ${CMAKE_CURRENT_BINARY_DIR}/<target>/: <base>Bin.h (array
#   <base>Bin) and <base>Ids.h (form set GUID, store, form, question and label
#   identifiers, prefixed <BASE>_).
#
# Both set, in the caller's scope, <target>_INCLUDE_DIR (the generated folder)
# and <target>_SOURCES (the generated .cpp), for builds that would rather
# compile the source into their own target than link the library.
include_guard(GLOBAL)

if(POLICY CMP0116)
  cmake_policy(SET CMP0116 NEW)
endif()

function(_carvex_hii_library target dir source headers)
  add_library(${target} STATIC ${source} ${headers})
  target_include_directories(${target} PUBLIC ${dir})
  if(DEFINED CARVEX_FIRMWARE_CXX_FLAGS)
    # The arrays end up in firmware images: build them like firmware code.
    target_compile_options(${target} PRIVATE ${CARVEX_FIRMWARE_CXX_FLAGS})
  endif()
  set_target_properties(${target} PROPERTIES CARVEX_HII_INCLUDE_DIR ${dir})
endfunction()

function(carvex_add_uni target)
  cmake_parse_arguments(ARG "" "UNI;OUTPUT_NAME" "EXTRA" ${ARGN})
  if(NOT ARG_UNI OR NOT ARG_OUTPUT_NAME OR ARG_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "carvex_add_uni(<target> UNI <file.uni> [EXTRA <file.uni>...] OUTPUT_NAME <base>)")
  endif()
  get_filename_component(uni "${ARG_UNI}" ABSOLUTE)
  set(extra)
  foreach(file IN LISTS ARG_EXTRA)
    get_filename_component(file "${file}" ABSOLUTE)
    list(APPEND extra ${file})
  endforeach()
  set(dir ${CMAKE_CURRENT_BINARY_DIR}/${target})
  set(base ${ARG_OUTPUT_NAME})
  set(source ${dir}/${base}Strings.cpp)
  set(headers ${dir}/${base}Strings.h ${dir}/${base}StrDefs.h)
  add_custom_command(
    OUTPUT ${source} ${headers}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${dir}
    COMMAND carvex-unic -o ${dir} --base-name ${base} ${uni} ${extra}
    DEPENDS ${uni} ${extra} carvex-unic
    COMMENT "Compiling strings ${ARG_UNI}"
    VERBATIM)
  _carvex_hii_library(${target} ${dir} ${source} "${headers}")
  # Form sources include <base>StrDefs.h: carvex_add_vfr depends on it.
  set_target_properties(${target} PROPERTIES CARVEX_HII_STRDEFS ${dir}/${base}StrDefs.h)
  set(${target}_INCLUDE_DIR ${dir} PARENT_SCOPE)
  set(${target}_SOURCES ${source} PARENT_SCOPE)
endfunction()

function(carvex_add_vfr target)
  cmake_parse_arguments(ARG "" "VFR;OUTPUT_NAME" "HEADERS;STRINGS;DEFINES" ${ARGN})
  if(NOT ARG_VFR OR NOT ARG_OUTPUT_NAME OR ARG_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "carvex_add_vfr(<target> VFR <file.vfr> HEADERS <dir>... OUTPUT_NAME <base> "
                        "[STRINGS <uni-target>...] [DEFINES <NAME=VALUE>...])")
  endif()
  get_filename_component(vfr "${ARG_VFR}" ABSOLUTE)
  set(dir ${CMAKE_CURRENT_BINARY_DIR}/${target})
  set(base ${ARG_OUTPUT_NAME})
  set(source ${dir}/${base}Bin.cpp)
  set(headers ${dir}/${base}Bin.h ${dir}/${base}Ids.h)
  set(depfile ${dir}/${base}Bin.d)

  set(args)
  set(deps ${vfr})
  foreach(header_dir IN LISTS ARG_HEADERS)
    get_filename_component(header_dir "${header_dir}" ABSOLUTE)
    list(APPEND args -I ${header_dir})
    file(GLOB found CONFIGURE_DEPENDS ${header_dir}/*.h)
    list(APPEND deps ${found})
  endforeach()
  foreach(strings IN LISTS ARG_STRINGS)
    get_target_property(strings_dir ${strings} CARVEX_HII_INCLUDE_DIR)
    if(NOT strings_dir)
      message(FATAL_ERROR "carvex_add_vfr: ${strings} was not made by carvex_add_uni")
    endif()
    list(APPEND args -I ${strings_dir})
    # A file-level dependency, so the strings are compiled first even when
    # another target compiles the generated sources.
    get_target_property(strdefs ${strings} CARVEX_HII_STRDEFS)
    list(APPEND deps ${strdefs})
  endforeach()
  foreach(define IN LISTS ARG_DEFINES)
    list(APPEND args -D ${define})
  endforeach()

  add_custom_command(
    OUTPUT ${source} ${headers}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${dir}
    COMMAND carvex-vfrc ${args} -o ${dir} --base-name ${base} --depfile ${depfile} ${vfr}
    DEPENDS ${deps} carvex-vfrc
    DEPFILE ${depfile}
    COMMENT "Compiling forms ${ARG_VFR}"
    VERBATIM)
  _carvex_hii_library(${target} ${dir} ${source} "${headers}")
  if(ARG_STRINGS)
    # The form source includes the generated string identifiers.
    add_dependencies(${target} ${ARG_STRINGS})
  endif()
  set(${target}_INCLUDE_DIR ${dir} PARENT_SCOPE)
  set(${target}_SOURCES ${source} PARENT_SCOPE)
endfunction()
