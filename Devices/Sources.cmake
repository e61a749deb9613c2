# The virtual devices' sources, shared by the host build and the firmware
# build.
set(CARVEX_DEVICES_DIR ${CMAKE_CURRENT_LIST_DIR})

# Module vendor's driver: the model and its two protocols.
set(CARVEX_NVM_DIMM_DEVICE_SOURCES
  ${CARVEX_DEVICES_DIR}/NvmDimm/DefaultPlatform.cpp
  ${CARVEX_DEVICES_DIR}/NvmDimm/Device.cpp
  ${CARVEX_DEVICES_DIR}/NvmDimm/GoalMemory.cpp
  ${CARVEX_DEVICES_DIR}/NvmDimm/Goals.cpp
  ${CARVEX_DEVICES_DIR}/NvmDimm/Inventory.cpp
  ${CARVEX_DEVICES_DIR}/NvmDimm/ModelCommon.cpp
  ${CARVEX_DEVICES_DIR}/NvmDimm/ModelInit.cpp
  ${CARVEX_DEVICES_DIR}/NvmDimm/Namespaces.cpp
  ${CARVEX_DEVICES_DIR}/NvmDimm/PowerUp.cpp
  ${CARVEX_DEVICES_DIR}/NvmDimm/Regions.cpp
  ${CARVEX_DEVICES_DIR}/NvmDimm/Scrub.cpp
  ${CARVEX_DEVICES_DIR}/NvmDimm/Security.cpp
  ${CARVEX_DEVICES_DIR}/NvmDimm/VendorEntry.cpp
)
# Defines the image's constructor and entry lists.
set(CARVEX_NVM_DIMM_VENDOR_IMAGE_SOURCES ${CARVEX_DEVICES_DIR}/NvmDimm/NvmDimmVendorDxeImage.cpp)

# Baseboard management controller: files, audit log, presence, LAN table.
set(CARVEX_BMC_DEVICE_SOURCES
  ${CARVEX_DEVICES_DIR}/Bmc/BmcCommands.cpp
  ${CARVEX_DEVICES_DIR}/Bmc/BmcEntry.cpp
  ${CARVEX_DEVICES_DIR}/Bmc/BmcModel.cpp
)
set(CARVEX_BMC_IMAGE_SOURCES ${CARVEX_DEVICES_DIR}/Bmc/BmcVeskDxeImage.cpp)

# Board configuration database and component data storage.
set(CARVEX_PLATFORM_DATA_DEVICE_SOURCES
  ${CARVEX_DEVICES_DIR}/Board/BoardDatabase.cpp
  ${CARVEX_DEVICES_DIR}/Board/BoardModel.cpp
  ${CARVEX_DEVICES_DIR}/Board/PlatformDataEntry.cpp
  ${CARVEX_DEVICES_DIR}/ComponentData/CdsModel.cpp
)
set(CARVEX_PLATFORM_DATA_IMAGE_SOURCES ${CARVEX_DEVICES_DIR}/Board/PlatformDataDxeImage.cpp)
