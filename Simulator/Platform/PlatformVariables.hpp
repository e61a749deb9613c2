// The variables the platform itself owns: the memory setup that memory
// initialisation reads (created on a first boot) and the post-reset request;
// and the one EFI variable store of the driver's setup form set, which the
// platform's setup infrastructure creates with its defaults on a first boot.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include <Uefi.h>

#include "PlatformSettings.hpp"
#include "VariableStore.hpp"

namespace carvex::sim {

inline EFI_GUID gSocketMemoryConfigGuid = {
    0x98CF19ED, 0x4109, 0x4681, {0xB7, 0x9D, 0x91, 0x96, 0x75, 0x7C, 0x78, 0x24}};
inline EFI_GUID gPostResetReqGuid = {
    0x3E40977A, 0x425E, 0x460F, {0xB9, 0xCD, 0x2D, 0xFA, 0x3E, 0x74, 0xFF, 0x8B}};

inline constexpr std::u16string_view kSocketMemoryConfigName = u"SocketMemoryConfig";
inline constexpr std::u16string_view kPostResetReqName = u"PostResetReq";

inline constexpr std::size_t kSocketMemoryConfigSize = 477;

// CarvekConfigVar under the setup form set's GUID: the alarm threshold in
// force, the one chosen, and two flags; both thresholds default to 10.
inline EFI_GUID gSetupFormSetGuid = {
    0xE8B18FEE, 0xA44E, 0x4F97, {0xB5, 0xEE, 0x2D, 0x2C, 0xA5, 0x4A, 0x30, 0x98}};
inline constexpr std::u16string_view kCarvekConfigName = u"CarvekConfigVar";
inline constexpr UINT32 kCarvekConfigAttributes =
    EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS;
inline const std::vector<std::uint8_t> kCarvekConfigDefaults = {10, 10, 0, 0};
inline constexpr std::size_t kPerformanceProfileOffset = 364;
inline constexpr std::size_t kEraseAllModulesOffset = 237;
inline constexpr UINT32 kPlatformVariableAttributes =
    EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS;

// A memory setup as a board would ship it: mostly enable flags and small
// option values, a few "auto" (0xFF) entries; the same bytes on every call.
std::vector<std::uint8_t> DefaultSocketMemoryConfig(PerformanceProfile profile);

// Creates the platform variables that do not exist yet; returns the names
// created (empty on every boot but the first).
std::vector<std::u16string> CreateFirstBootVariables(VariableStore& variables,
                                                     const PlatformSettings& settings);

}  // namespace carvex::sim
