# The driver's sources, shared by the host build and the firmware build.
set(CARVEX_DRIVER_DIR ${CMAKE_CURRENT_LIST_DIR})
set(CARVEX_DRIVER_SOURCES
  ${CARVEX_DRIVER_DIR}/Carvex/Carvex.cpp
  ${CARVEX_DRIVER_DIR}/Carvex/CarvexPerfSync.cpp
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
)
