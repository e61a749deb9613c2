#include "PcdService.hpp"

#include <array>
#include <stdexcept>
#include <utility>

namespace carvex::sim {

namespace {

std::array<PcdService*, PcdService::kSlotCount>& Instances() {
  static std::array<PcdService*, PcdService::kSlotCount> instances{};
  return instances;
}

template <std::size_t S>
struct PcdThunks {
  static PcdService* Self() { return Instances()[S]; }

  static VOID EFIAPI SetSku(UINTN) {}
  static UINT8 EFIAPI Get8(UINTN token) { return static_cast<UINT8>(Self()->Get64(token)); }
  static UINT16 EFIAPI Get16(UINTN token) { return static_cast<UINT16>(Self()->Get64(token)); }
  static UINT32 EFIAPI Get32(UINTN token) { return static_cast<UINT32>(Self()->Get64(token)); }
  static UINT64 EFIAPI Get64(UINTN token) { return Self()->Get64(token); }
  static VOID* EFIAPI GetPtr(UINTN) { return nullptr; }
  static BOOLEAN EFIAPI GetBool(UINTN token) { return Self()->Get64(token) != 0; }
  static UINTN EFIAPI GetSize(UINTN token) {
    return token == PCD_TOKEN_PLATFORM_CAPABILITY_MASK ? sizeof(UINT64) : 0;
  }
};

// Members that need no instance.
UINT8 EFIAPI Get8Ex(CONST EFI_GUID*, UINTN) { return 0; }
UINT16 EFIAPI Get16Ex(CONST EFI_GUID*, UINTN) { return 0; }
UINT32 EFIAPI Get32Ex(CONST EFI_GUID*, UINTN) { return 0; }
UINT64 EFIAPI Get64Ex(CONST EFI_GUID*, UINTN) { return 0; }
VOID* EFIAPI GetPtrEx(CONST EFI_GUID*, UINTN) { return nullptr; }
BOOLEAN EFIAPI GetBoolEx(CONST EFI_GUID*, UINTN) { return FALSE; }
UINTN EFIAPI GetSizeEx(CONST EFI_GUID*, UINTN) { return 0; }
EFI_STATUS EFIAPI Set8(UINTN, UINT8) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI Set16(UINTN, UINT16) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI Set32(UINTN, UINT32) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI Set64(UINTN, UINT64) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI SetPtr(UINTN, UINTN*, VOID*) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI SetBool(UINTN, BOOLEAN) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI Set8Ex(CONST EFI_GUID*, UINTN, UINT8) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI Set16Ex(CONST EFI_GUID*, UINTN, UINT16) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI Set32Ex(CONST EFI_GUID*, UINTN, UINT32) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI Set64Ex(CONST EFI_GUID*, UINTN, UINT64) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI SetPtrEx(CONST EFI_GUID*, UINTN, UINTN*, VOID*) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI SetBoolEx(CONST EFI_GUID*, UINTN, BOOLEAN) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI CallbackOnSet(CONST EFI_GUID*, UINTN, PCD_PROTOCOL_CALLBACK) {
  return EFI_UNSUPPORTED;
}
EFI_STATUS EFIAPI CancelCallback(CONST EFI_GUID*, UINTN, PCD_PROTOCOL_CALLBACK) {
  return EFI_UNSUPPORTED;
}
EFI_STATUS EFIAPI GetNextToken(CONST EFI_GUID*, UINTN*) { return EFI_NOT_FOUND; }
EFI_STATUS EFIAPI GetNextTokenSpace(CONST EFI_GUID**) { return EFI_NOT_FOUND; }

template <std::size_t S>
PCD_PROTOCOL MakeTable() {
  return PCD_PROTOCOL{
      PcdThunks<S>::SetSku, PcdThunks<S>::Get8,  PcdThunks<S>::Get16,   PcdThunks<S>::Get32,
      PcdThunks<S>::Get64,  PcdThunks<S>::GetPtr, PcdThunks<S>::GetBool, PcdThunks<S>::GetSize,
      Get8Ex,   Get16Ex,   Get32Ex,   Get64Ex,   GetPtrEx,  GetBoolEx, GetSizeEx,
      Set8,     Set16,     Set32,     Set64,     SetPtr,    SetBool,   Set8Ex,
      Set16Ex,  Set32Ex,   Set64Ex,   SetPtrEx,  SetBoolEx, CallbackOnSet, CancelCallback,
      GetNextToken, GetNextTokenSpace};
}

template <std::size_t... Slots>
constexpr auto MakeBuilders(std::index_sequence<Slots...>) {
  return std::array<PCD_PROTOCOL (*)(), sizeof...(Slots)>{&MakeTable<Slots>...};
}

constexpr auto kBuilders = MakeBuilders(std::make_index_sequence<PcdService::kSlotCount>{});

}  // namespace

PcdService::PcdService(std::uint64_t capabilityMask) : capabilityMask_(capabilityMask) {
  auto& instances = Instances();
  std::size_t slot = 0;
  while (slot < instances.size() && instances[slot] != nullptr) {
    ++slot;
  }
  if (slot == instances.size()) {
    throw std::runtime_error("too many PCD services at once");
  }
  instances[slot] = this;
  slot_ = slot;
  protocol_ = kBuilders[slot]();
}

PcdService::~PcdService() { Instances()[slot_] = nullptr; }

std::uint64_t PcdService::Get64(UINTN token) {
  if (token == PCD_TOKEN_PLATFORM_CAPABILITY_MASK) {
    ++capabilityReads_;
    return capabilityMask_;
  }
  ++otherReads_;
  return 0;
}

std::uint64_t PcdService::ReadCount(UINTN token) const {
  return token == PCD_TOKEN_PLATFORM_CAPABILITY_MASK ? capabilityReads_ : otherReads_;
}

}  // namespace carvex::sim
