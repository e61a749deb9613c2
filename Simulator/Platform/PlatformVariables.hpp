// The variables the platform itself owns: the memory setup that memory
// initialisation reads (created on a first boot) and the post-reset request.
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
