# Functions of the firmware cross project. carvex_firmware_library and
# carvex_firmware_image have the signatures of the host build's functions
# (cmake/CarvexFirmwareCode.cmake), so that Library/CMakeLists.txt builds
# unchanged for either target.

# Compile options beyond the toolchain's: warnings as errors, the firmware
# build's macros, the shared include directory.
function(carvex_fw_target_defaults target)
  target_include_directories(${target} PRIVATE ${CARVEX_INCLUDE_DIR})
  target_compile_options(${target} PRIVATE -Wall -Wextra -Werror)
  target_compile_definitions(${target} PRIVATE CARVEX_FIRMWARE)
  if(CARVEX_ASSERTS)
    target_compile_definitions(${target} PRIVATE CARVEX_ASSERTS_ENABLED)
  endif()
endfunction()

function(carvex_firmware_library name)
  add_library(${name} STATIC ${ARGN})
  carvex_fw_target_defaults(${name})
  target_include_directories(${name} PUBLIC ${CARVEX_INCLUDE_DIR})
endfunction()

# carvex_efi_image(<name> SUBSYSTEM <lld-link subsystem>
#                  SOURCES <sources...> [LIBRARIES <libs...>])
# Links <name>.efi into ${CARVEX_FW_IMAGE_DIR} with _ModuleEntryPoint as
# entry, no default libraries, base 0, 4 KiB sections, unreferenced code
# dropped, a link map (and the import library lld-link insists on writing
# for a /dll, kept out of the image folder); then the image check runs on it (a stamp file
# records a passing check, so a failing image fails every build until fixed).
function(carvex_efi_image name)
  cmake_parse_arguments(IMG "" "SUBSYSTEM" "SOURCES;LIBRARIES" ${ARGN})
  if(NOT IMG_SUBSYSTEM)
    set(IMG_SUBSYSTEM efi_boot_service_driver)
  endif()
  set(map ${CMAKE_CURRENT_BINARY_DIR}/${name}.map)
  add_executable(${name} ${IMG_SOURCES})
  carvex_fw_target_defaults(${name})
  set_target_properties(${name} PROPERTIES
    SUFFIX .efi
    RUNTIME_OUTPUT_DIRECTORY ${CARVEX_FW_IMAGE_DIR})
  target_link_libraries(${name} PRIVATE ${IMG_LIBRARIES} CarvexCompilerSupport)
  target_link_options(${name} PRIVATE
    /subsystem:${IMG_SUBSYSTEM} /entry:_ModuleEntryPoint /dll /driver
    /base:0 /align:4096 /filealign:32 /opt:ref /lldmap:${map}
    /implib:${CMAKE_CURRENT_BINARY_DIR}/${name}.implib)

  set(stamp ${CMAKE_CURRENT_BINARY_DIR}/${name}.checked)
  add_custom_command(OUTPUT ${stamp}
    COMMAND ${CARVEX_PECHECK} --subsystem ${IMG_SUBSYSTEM} --map ${map} $<TARGET_FILE:${name}>
    COMMAND ${CMAKE_COMMAND} -E touch ${stamp}
    DEPENDS ${name}
    COMMENT "Checking ${name}.efi"
    VERBATIM)
  add_custom_target(${name}_check ALL DEPENDS ${stamp})
endfunction()

# The host build's image function: a driver image.
function(carvex_firmware_image name)
  cmake_parse_arguments(IMG "" "" "LIBRARIES;SOURCES" ${ARGN})
  carvex_efi_image(${name} SUBSYSTEM efi_boot_service_driver
    SOURCES ${IMG_SOURCES} LIBRARIES ${IMG_LIBRARIES})
endfunction()
