#include "Names.hpp"

#include <sstream>

#include "NvmDimm/NvmDimmModel.h"
#include "Bmc/BmcModel.h"

namespace carvex::sim::devices {

#define NAMED(x) {#x, static_cast<std::uint64_t>(x)}

std::optional<std::uint64_t> ValueOf(const std::vector<NamedValue>& table, std::string_view name) {
  for (const NamedValue& entry : table) {
    if (name == entry.name) return entry.value;
  }
  return std::nullopt;
}

std::string NameOf(const std::vector<NamedValue>& table, std::uint64_t value) {
  for (const NamedValue& entry : table) {
    if (entry.value == value) return entry.name;
  }
  return {};
}

std::string ChoiceList(const std::vector<NamedValue>& table) {
  std::string text;
  for (std::size_t index = 0; index < table.size(); ++index) {
    if (index != 0) text += index + 1 == table.size() ? " or " : ", ";
    text += '"';
    text += table[index].name;
    text += '"';
  }
  return text;
}

const std::vector<NamedValue>& EfiStatusNames() {
  static const std::vector<NamedValue> kNames = {
      NAMED(EFI_SUCCESS),          NAMED(EFI_LOAD_ERROR),        NAMED(EFI_INVALID_PARAMETER),
      NAMED(EFI_UNSUPPORTED),      NAMED(EFI_BAD_BUFFER_SIZE),   NAMED(EFI_BUFFER_TOO_SMALL),
      NAMED(EFI_NOT_READY),        NAMED(EFI_DEVICE_ERROR),      NAMED(EFI_WRITE_PROTECTED),
      NAMED(EFI_OUT_OF_RESOURCES), NAMED(EFI_VOLUME_CORRUPTED),  NAMED(EFI_VOLUME_FULL),
      NAMED(EFI_NO_MEDIA),         NAMED(EFI_MEDIA_CHANGED),     NAMED(EFI_NOT_FOUND),
      NAMED(EFI_ACCESS_DENIED),    NAMED(EFI_NO_RESPONSE),       NAMED(EFI_NO_MAPPING),
      NAMED(EFI_TIMEOUT),          NAMED(EFI_NOT_STARTED),       NAMED(EFI_ALREADY_STARTED),
      NAMED(EFI_ABORTED),          NAMED(EFI_PROTOCOL_ERROR),    NAMED(EFI_INCOMPATIBLE_VERSION),
      NAMED(EFI_SECURITY_VIOLATION), NAMED(EFI_CRC_ERROR),       NAMED(EFI_END_OF_MEDIA),
      NAMED(EFI_END_OF_FILE),      NAMED(EFI_COMPROMISED_DATA),
  };
  return kNames;
}

const std::vector<NamedValue>& NvmStatusNames() {
  static const std::vector<NamedValue> kNames = {
      NAMED(NVM_SUCCESS),
      NAMED(NVM_ERR_UNKNOWN),
      NAMED(NVM_ERR_OPERATION_NOT_STARTED),
      NAMED(NVM_ERR_DIMM_NOT_FOUND),
      NAMED(NVM_ERR_FORCE_REQUIRED),
      NAMED(NVM_ERR_INVALID_PARAMETER),
      NAMED(NVM_ERR_BUFFER_TOO_SMALL),
      NAMED(NVM_ERR_INVALID_SECURITY_STATE),
      NAMED(NVM_ERR_SECURITY_COUNT_EXPIRED),
      NAMED(NVM_ERR_SECURITY_FROZEN),
      NAMED(NVM_ERR_ENABLE_SECURITY_NOT_ALLOWED),
      NAMED(NVM_ERR_CREATE_GOAL_NOT_ALLOWED),
      NAMED(NVM_ERR_GOAL_ALREADY_EXISTS),
      NAMED(NVM_ERR_NO_GOAL_TO_DELETE),
      NAMED(NVM_ERR_INVALID_GOAL_PARAMETERS),
      NAMED(NVM_ERR_INVALID_PASSPHRASE),
      NAMED(NVM_ERR_NEW_PASSPHRASE_INVALID),
      NAMED(NVM_ERR_NAMESPACES_EXIST),
      NAMED(NVM_ERR_SOCKET_NOT_FOUND),
      NAMED(NVM_ERR_REGION_NOT_FOUND),
      NAMED(NVM_ERR_REGION_UNUSABLE),
      NAMED(NVM_ERR_NAMESPACE_NOT_FOUND),
      NAMED(NVM_ERR_INVALID_NAMESPACE_NAME),
      NAMED(NVM_ERR_INVALID_BLOCK_SIZE),
      NAMED(NVM_ERR_NAMESPACE_NOT_ALIGNED),
      NAMED(NVM_ERR_NAMESPACE_TOO_SMALL),
      NAMED(NVM_ERR_NOT_ENOUGH_FREE_SPACE),
      NAMED(NVM_ERR_TOO_MANY_NAMESPACES),
      NAMED(NVM_ERR_SENSOR_NOT_SUPPORTED),
      NAMED(NVM_ERR_THRESHOLD_OUT_OF_RANGE),
      NAMED(NVM_ERR_ARS_IN_PROGRESS),
      NAMED(NVM_ERR_ARS_IN_PROGRESS_SECURITY),
  };
  return kNames;
}

const std::vector<NamedValue>& NvmSlotNames() {
  static const std::vector<NamedValue> kNames = {
      {"GetDimmCount", NVM_SLOT_GET_DIMM_COUNT},
      {"GetDimms", NVM_SLOT_GET_DIMMS},
      {"GetSockets", NVM_SLOT_GET_SOCKETS},
      {"SetSecurityState", NVM_SLOT_SET_SECURITY_STATE},
      {"GetRegionCount", NVM_SLOT_GET_REGION_COUNT},
      {"GetRegions", NVM_SLOT_GET_REGIONS},
      {"GetMemoryResourcesInfo", NVM_SLOT_GET_MEMORY_RESOURCES_INFO},
      {"GetAlarmThresholds", NVM_SLOT_GET_ALARM_THRESHOLDS},
      {"SetAlarmThresholds", NVM_SLOT_SET_ALARM_THRESHOLDS},
      {"GetSmartAndHealth", NVM_SLOT_GET_SMART_AND_HEALTH},
      {"GetGoalConfigs", NVM_SLOT_GET_GOAL_CONFIGS},
      {"CreateGoalConfig", NVM_SLOT_CREATE_GOAL_CONFIG},
      {"DeleteGoalConfig", NVM_SLOT_DELETE_GOAL_CONFIG},
      {"CreateNamespace", NVM_SLOT_CREATE_NAMESPACE},
      {"GetNamespaces", NVM_SLOT_GET_NAMESPACES},
      {"ModifyNamespace", NVM_SLOT_MODIFY_NAMESPACE},
      {"DeleteNamespace", NVM_SLOT_DELETE_NAMESPACE},
      {"GetARSStatus", NVM_SLOT_GET_ARS_STATUS},
      {"PassThru", NVM_SLOT_PASS_THRU},
  };
  return kNames;
}

const std::vector<NamedValue>& BmcSlotNames() {
  static const std::vector<NamedValue> kNames = {
      {"ReadFile", BMC_SLOT_READ_FILE},
      {"WriteFile", BMC_SLOT_WRITE_FILE},
      {"AddAuditLog", BMC_SLOT_ADD_AUDIT_LOG},
      {"GetRemotePresenceSetting", BMC_SLOT_GET_REMOTE_PRESENCE_SETTING},
      {"GetRemotePpAssert", BMC_SLOT_GET_REMOTE_PP_ASSERT},
      {"UpdateLanSettingTable", BMC_SLOT_UPDATE_LAN_SETTING_TABLE},
  };
  return kNames;
}

const std::vector<NamedValue>& FaultModeNames() {
  static const std::vector<NamedValue> kNames = {
      {"off", NvmFaultOff}, {"times", NvmFaultTimes}, {"always", NvmFaultAlways}};
  return kNames;
}

const std::vector<NamedValue>& MemoryTypeNames() {
  static const std::vector<NamedValue> kNames = {
      {"AppDirect", GOAL_MEMORY_TYPE_APP_DIRECT},
      {"AppDirectNotInterleaved", GOAL_MEMORY_TYPE_APP_DIRECT_NOT_INTERLEAVED}};
  return kNames;
}

const std::vector<NamedValue>& RegionTypeNames() {
  static const std::vector<NamedValue> kNames = {
      {"AppDirect", REGION_TYPE_APP_DIRECT},
      {"AppDirectNotInterleaved", REGION_TYPE_APP_DIRECT_NOT_INTERLEAVED}};
  return kNames;
}

const std::vector<NamedValue>& ScrubStatusNames() {
  static const std::vector<NamedValue> kNames = {{"unknown", ARS_STATUS_UNKNOWN},
                                                 {"notStarted", ARS_STATUS_NOT_STARTED},
                                                 {"inProgress", ARS_STATUS_IN_PROGRESS},
                                                 {"completed", ARS_STATUS_COMPLETED},
                                                 {"aborted", ARS_STATUS_ABORTED}};
  return kNames;
}

const std::vector<NamedValue>& NamespaceHealthNames() {
  static const std::vector<NamedValue> kNames = {{"unknown", NAMESPACE_HEALTH_UNKNOWN},
                                                 {"healthy", NAMESPACE_HEALTH_HEALTHY},
                                                 {"warning", NAMESPACE_HEALTH_WARNING},
                                                 {"critical", NAMESPACE_HEALTH_CRITICAL},
                                                 {"unsupported", NAMESPACE_HEALTH_UNSUPPORTED}};
  return kNames;
}

const std::vector<NamedValue>& SecurityStateNames() {
  static const std::vector<NamedValue> kNames = {{"Unknown", DIMM_SECURITY_STATE_UNKNOWN},
                                                 {"Disabled", DIMM_SECURITY_STATE_DISABLED},
                                                 {"Locked", DIMM_SECURITY_STATE_LOCKED},
                                                 {"Unlocked", DIMM_SECURITY_STATE_UNLOCKED},
                                                 {"Frozen", DIMM_SECURITY_STATE_FROZEN},
                                                 {"Exceeded", DIMM_SECURITY_STATE_EXCEEDED},
                                                 {"Mixed", DIMM_SECURITY_STATE_MIXED}};
  return kNames;
}

std::string EfiStatusName(EFI_STATUS status) {
  std::string name = NameOf(EfiStatusNames(), status);
  if (!name.empty()) return name;
  std::ostringstream hex;
  hex << "0x" << std::hex << std::uppercase << status;
  return hex.str();
}

#undef NAMED

}  // namespace carvex::sim::devices
