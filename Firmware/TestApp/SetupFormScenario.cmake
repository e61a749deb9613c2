# The test application's setup form set scenario, for the firmware cross
# project (included by Image/CMakeLists.txt once the driver and the test
# application are defined). It links the driver's compiled setup packages,
# to compare them with what OVMF exports.
set(setup_form_app ${CMAKE_CURRENT_LIST_DIR})
target_sources(CarvexTestApp PRIVATE
  ${setup_form_app}/SetupFormScenario.cpp
  ${setup_form_app}/SetupVarExtract.cpp
  ${setup_form_app}/SetupPagesScenario.cpp
  ${setup_form_app}/HiiDatabaseWalk.cpp
  ${setup_form_app}/DebugLogSpy.cpp)
target_link_libraries(CarvexTestApp PRIVATE CarvexSetupStrings CarvexSetupForms)
