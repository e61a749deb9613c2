# The driver's sources, shared by the host build and the firmware build.
set(CARVEX_DRIVER_DIR ${CMAKE_CURRENT_LIST_DIR})
set(CARVEX_DRIVER_SOURCES
  ${CARVEX_DRIVER_DIR}/Carvex/Carvex.cpp
  ${CARVEX_DRIVER_DIR}/Carvex/CarvexPerfSync.cpp
  ${CARVEX_DRIVER_DIR}/Carvex/SocketMemoryConfig.cpp
  ${CARVEX_DRIVER_DIR}/KIV/KivSetupEnter.cpp
  ${CARVEX_DRIVER_DIR}/NvmDimmConfig/CarvexConfig.cpp
  ${CARVEX_DRIVER_DIR}/NvmDimmConfig/NvmStatus.cpp
  ${CARVEX_DRIVER_DIR}/NvmDimmConfig/Utility.cpp
)
# Defines the image's constructor and entry lists.
set(CARVEX_DRIVER_IMAGE_SOURCES ${CARVEX_DRIVER_DIR}/Carvex/CarvexDxeImage.cpp)
# Module management client: inventory, conversions, regions, goals,
# security, thresholds and scrub; the controller's audit log.
list(APPEND CARVEX_DRIVER_SOURCES
  ${CARVEX_DRIVER_DIR}/NvmDimmConfig/Capacity.cpp
  ${CARVEX_DRIVER_DIR}/NvmDimmConfig/Convert.cpp
  ${CARVEX_DRIVER_DIR}/NvmDimmConfig/DimmInventory.cpp
  ${CARVEX_DRIVER_DIR}/NvmDimmConfig/Goals.cpp
  ${CARVEX_DRIVER_DIR}/NvmDimmConfig/Regions.cpp
  ${CARVEX_DRIVER_DIR}/NvmDimmConfig/Scrub.cpp
  ${CARVEX_DRIVER_DIR}/NvmDimmConfig/Security.cpp
  ${CARVEX_DRIVER_DIR}/NvmDimmConfig/SecurityUnlock.cpp
  ${CARVEX_DRIVER_DIR}/NvmDimmConfig/TextParse.cpp
  ${CARVEX_DRIVER_DIR}/NvmDimmConfig/Thresholds.cpp
  ${CARVEX_DRIVER_DIR}/Bmc/AuditLog.cpp
  ${CARVEX_DRIVER_DIR}/Bmc/AutoUnlock.cpp
  ${CARVEX_DRIVER_DIR}/Bmc/PassphraseFile.cpp
)
# Namespaces of the client layer; run-time strings in every language.
list(APPEND CARVEX_DRIVER_SOURCES
  ${CARVEX_DRIVER_DIR}/NvmDimmConfig/Namespaces.cpp
  ${CARVEX_DRIVER_DIR}/Library/MultiLanguageLib/MultiLanguageLib.cpp
  ${CARVEX_DRIVER_DIR}/Library/PhysicalPresenceHandlerSupportLib/PhysicalPresenceHandlerSupportLib.cpp
  ${CARVEX_DRIVER_DIR}/Library/SecurityGpioConfigLib/SecurityGpioConfigLib.cpp
)
# Inventory records for the component data storage; the board's platform
# data and DIMM map.
list(APPEND CARVEX_DRIVER_SOURCES
  ${CARVEX_DRIVER_DIR}/Inventory/CarvexInventory.cpp
  ${CARVEX_DRIVER_DIR}/Inventory/CdsSerialData.cpp
  ${CARVEX_DRIVER_DIR}/Library/UbaPlatformDataLib/UbaPlatformDataLib.cpp
)
# Setup form set: its strings (the declaring file, then one translation file
# per language as each lands) and its forms are compiled into the driver.
file(GLOB CARVEX_SETUP_TRANSLATIONS CONFIGURE_DEPENDS ${CARVEX_DRIVER_DIR}/Setup/Strings/*.uni)
carvex_add_uni(CarvexSetupStrings
  UNI ${CARVEX_DRIVER_DIR}/Setup/CarvexSetupStrings.uni
  EXTRA ${CARVEX_SETUP_TRANSLATIONS}
  OUTPUT_NAME CarvexSetup)
carvex_add_vfr(CarvexSetupForms
  VFR ${CARVEX_DRIVER_DIR}/Setup/CarvexSetup.vfr
  HEADERS ${CARVEX_DRIVER_DIR}/Setup
  OUTPUT_NAME CarvexSetup
  STRINGS CarvexSetupStrings)
set(CARVEX_SETUP_SOURCES
  ${CARVEX_DRIVER_DIR}/Setup/CarvexSetup.cpp
  ${CARVEX_DRIVER_DIR}/Setup/SetupCallback.cpp
  ${CARVEX_DRIVER_DIR}/Setup/SetupMessageBox.cpp
  ${CARVEX_DRIVER_DIR}/Setup/SetupThresholds.cpp
  ${CARVEX_DRIVER_DIR}/Setup/DimmDetailsPages.cpp
  ${CARVEX_DRIVER_DIR}/Setup/RegionPages.cpp
  ${CARVEX_DRIVER_DIR}/Setup/GoalPages.cpp
  ${CARVEX_DRIVER_DIR}/Setup/SecurityPage.cpp
)
set_source_files_properties(${CARVEX_SETUP_SOURCES} PROPERTIES
  INCLUDE_DIRECTORIES "${CarvexSetupStrings_INCLUDE_DIR};${CarvexSetupForms_INCLUDE_DIR}")
# Out-of-band form set: its forms share the setup form set's strings.
carvex_add_vfr(CarvexKivForms
  VFR ${CARVEX_DRIVER_DIR}/KIV/CarvexKiv.vfr
  HEADERS ${CARVEX_DRIVER_DIR}/KIV ${CARVEX_DRIVER_DIR}/Setup
  OUTPUT_NAME CarvexKiv
  STRINGS CarvexSetupStrings)
set(CARVEX_KIV_SOURCES
  ${CARVEX_DRIVER_DIR}/KIV/CarvexKiv.cpp
  ${CARVEX_DRIVER_DIR}/KIV/KivConfigAccess.cpp
)
set_source_files_properties(${CARVEX_KIV_SOURCES} PROPERTIES
  INCLUDE_DIRECTORIES "${CarvexSetupStrings_INCLUDE_DIR};${CarvexSetupForms_INCLUDE_DIR};${CarvexKivForms_INCLUDE_DIR}")
list(APPEND CARVEX_DRIVER_SOURCES
  ${CARVEX_KIV_SOURCES}
  ${CarvexKivForms_SOURCES}
  ${CarvexKivForms_INCLUDE_DIR}/CarvexKivBin.h
  ${CARVEX_SETUP_SOURCES}
  ${CarvexSetupStrings_SOURCES}
  ${CarvexSetupForms_SOURCES}
  ${CarvexSetupStrings_INCLUDE_DIR}/CarvexSetupStrDefs.h
  ${CarvexSetupForms_INCLUDE_DIR}/CarvexSetupBin.h
)
