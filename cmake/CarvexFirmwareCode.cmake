# Firmware code (Include/, Library/, Driver/, Devices/) built for the host:
# freestanding C++ without exceptions, RTTI or the C++ standard library, and
# position independent so that each image can become its own shared object.
set(CARVEX_INCLUDE_DIR ${CMAKE_SOURCE_DIR}/Include)

set(CARVEX_FIRMWARE_CXX_FLAGS
  -fno-exceptions -fno-rtti -fno-threadsafe-statics -nostdinc++
  -fvisibility=hidden -fvisibility-inlines-hidden)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # Unique symbols would pin an image in memory across dlclose().
  list(APPEND CARVEX_FIRMWARE_CXX_FLAGS -fno-gnu-unique)
else()
  list(APPEND CARVEX_FIRMWARE_CXX_FLAGS -fno-c++-static-destructors)
endif()

# carvex_firmware_library(<name> <sources...>): a static library of firmware
# code for the host build.
function(carvex_firmware_library name)
  add_library(${name} STATIC ${ARGN})
  target_include_directories(${name} PUBLIC ${CARVEX_INCLUDE_DIR})
  target_compile_options(${name} PRIVATE ${CARVEX_FIRMWARE_CXX_FLAGS})
  if(CARVEX_ASSERTS)
    target_compile_definitions(${name} PUBLIC CARVEX_ASSERTS_ENABLED)
  endif()
endfunction()

# carvex_firmware_image(<name> LIBRARIES <libs...> SOURCES <sources...>):
# a firmware image as a shared object the simulator loads per boot. Only
# _ModuleEntryPoint is exported; every library is linked whole into it so
# that its module-wide state belongs to this image alone.
function(carvex_firmware_image name)
  cmake_parse_arguments(IMG "" "" "LIBRARIES;SOURCES" ${ARGN})
  add_library(${name} MODULE ${IMG_SOURCES})
  set_target_properties(${name} PROPERTIES PREFIX "" SUFFIX ".so")
  target_include_directories(${name} PRIVATE ${CARVEX_INCLUDE_DIR})
  target_compile_options(${name} PRIVATE ${CARVEX_FIRMWARE_CXX_FLAGS})
  if(CARVEX_ASSERTS)
    target_compile_definitions(${name} PRIVATE CARVEX_ASSERTS_ENABLED)
  endif()
  target_link_libraries(${name} PRIVATE
    -Wl,--whole-archive ${IMG_LIBRARIES} -Wl,--no-whole-archive -Wl,-z,defs)
  foreach(lib ${IMG_LIBRARIES})
    add_dependencies(${name} ${lib})
  endforeach()
endfunction()
