# HiiSampleDxe and the test application's HII scenario, for the firmware
# cross project (included by Image/CMakeLists.txt once the test application
# is defined). The form set and strings are the host HII tests' sample, so
# the same compiled packages meet both our host services and OVMF's.
set(hii_sample_data ${CARVEX_ROOT}/Tests/Hii/Data)
carvex_add_uni(HiiSampleStringPackages UNI ${hii_sample_data}/HiiSample.uni OUTPUT_NAME HiiSample)
carvex_add_vfr(HiiSampleFormPackage
  VFR ${hii_sample_data}/HiiSample.vfr
  HEADERS ${hii_sample_data} ${CARVEX_INCLUDE_DIR}
  OUTPUT_NAME HiiSample
  STRINGS HiiSampleStringPackages)

carvex_efi_image(HiiSampleDxe
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/HiiSampleDxe.cpp ${CMAKE_CURRENT_LIST_DIR}/HiiSampleDxeImage.cpp
  LIBRARIES HiiSampleFormPackage HiiSampleStringPackages CarvexLibrary)
target_include_directories(HiiSampleDxe PRIVATE ${hii_sample_data})

# The scenario drives the HII library itself (strings, config headers) and
# compares what OVMF exports with the packages it was given.
target_sources(CarvexTestApp PRIVATE
  ${CARVEX_ROOT}/Firmware/TestApp/HiiScenario.cpp ${CARVEX_ROOT}/Firmware/TestApp/HiiConfigText.cpp)
target_include_directories(CarvexTestApp PRIVATE ${hii_sample_data} ${CMAKE_CURRENT_LIST_DIR})
target_link_libraries(CarvexTestApp PRIVATE HiiSampleFormPackage HiiSampleStringPackages CarvexLibrary)
