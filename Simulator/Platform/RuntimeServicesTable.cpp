// The per-slot runtime services thunks (see BootServicesTable.cpp).
#include <array>
#include <cstdio>
#include <utility>

#include "BootServices.hpp"
#include "Guard.hpp"
#include "ImageTablesInternal.hpp"
#include "RuntimeServices.hpp"

namespace carvex::sim {

namespace {

template <std::size_t S>
struct RuntimeThunks {
  template <class Body>
  static EFI_STATUS Call(const char* service, Body&& body) {
    const ImageBinding& binding = BindingOf(S);
    if (binding.runtime == nullptr || binding.boot == nullptr) {
      std::fprintf(stderr, "carvex platform: %s called through a table of an unloaded image\n",
                   service);
      return EFI_NOT_READY;
    }
    return GuardStatus(&binding.runtime->Log(), service, [&] {
      return body(*binding.runtime, binding.boot->ImageName(binding.image));
    });
  }

  static EFI_STATUS NotOffered(const char* service) {
    return Call(service, [&](RuntimeServicesCore& core, const std::string& image) {
      core.Log().Note(image + " called " + service + ", which this platform does not offer");
      return EFI_UNSUPPORTED;
    });
  }

  static EFI_STATUS EFIAPI GetTime(EFI_TIME* time, EFI_TIME_CAPABILITIES* capabilities) {
    return Call("GetTime", [&](RuntimeServicesCore& core, const std::string&) {
      return core.GetTime(time, capabilities);
    });
  }
  static EFI_STATUS EFIAPI SetTime(EFI_TIME*) { return NotOffered("SetTime"); }
  static EFI_STATUS EFIAPI GetWakeupTime(BOOLEAN*, BOOLEAN*, EFI_TIME*) {
    return NotOffered("GetWakeupTime");
  }
  static EFI_STATUS EFIAPI SetWakeupTime(BOOLEAN, EFI_TIME*) { return NotOffered("SetWakeupTime"); }
  static EFI_STATUS EFIAPI SetVirtualAddressMap(UINTN, UINTN, UINT32, EFI_MEMORY_DESCRIPTOR*) {
    return NotOffered("SetVirtualAddressMap");
  }
  static EFI_STATUS EFIAPI ConvertPointer(UINTN, VOID**) { return NotOffered("ConvertPointer"); }

  static EFI_STATUS EFIAPI GetVariable(CHAR16* name, EFI_GUID* guid, UINT32* attributes,
                                       UINTN* dataSize, VOID* data) {
    return Call("GetVariable", [&](RuntimeServicesCore& core, const std::string& image) {
      return core.Variables().GetVariable(image, name, guid, attributes, dataSize, data);
    });
  }

  static EFI_STATUS EFIAPI GetNextVariableName(UINTN* nameSize, CHAR16* name, EFI_GUID* guid) {
    return Call("GetNextVariableName", [&](RuntimeServicesCore& core, const std::string& image) {
      return core.Variables().GetNextVariableName(image, nameSize, name, guid);
    });
  }

  static EFI_STATUS EFIAPI SetVariable(CHAR16* name, EFI_GUID* guid, UINT32 attributes,
                                       UINTN dataSize, VOID* data) {
    return Call("SetVariable", [&](RuntimeServicesCore& core, const std::string& image) {
      return core.Variables().SetVariable(image, name, guid, attributes, dataSize, data);
    });
  }

  static EFI_STATUS EFIAPI GetNextHighMonotonicCount(UINT32* highCount) {
    return Call("GetNextHighMonotonicCount", [&](RuntimeServicesCore&, const std::string&) {
      if (highCount == nullptr) {
        return EFI_INVALID_PARAMETER;
      }
      *highCount = BindingOf(S).boot->BootNumber() + 1;
      return EFI_SUCCESS;
    });
  }

  static VOID EFIAPI ResetSystem(EFI_RESET_TYPE type, EFI_STATUS status, UINTN, VOID*) {
    Call("ResetSystem", [&](RuntimeServicesCore& core, const std::string& image) {
      core.ResetSystem(image, type, status);
      return EFI_SUCCESS;
    });
  }

  static EFI_STATUS EFIAPI UpdateCapsule(VOID**, UINTN, EFI_PHYSICAL_ADDRESS) {
    return NotOffered("UpdateCapsule");
  }
  static EFI_STATUS EFIAPI QueryCapsuleCapabilities(VOID**, UINTN, UINT64*, EFI_RESET_TYPE*) {
    return NotOffered("QueryCapsuleCapabilities");
  }
  static EFI_STATUS EFIAPI QueryVariableInfo(UINT32, UINT64*, UINT64*, UINT64*) {
    return NotOffered("QueryVariableInfo");
  }

  static EFI_RUNTIME_SERVICES Table() {
    EFI_RUNTIME_SERVICES table{};
    table.GetTime = GetTime;
    table.SetTime = SetTime;
    table.GetWakeupTime = GetWakeupTime;
    table.SetWakeupTime = SetWakeupTime;
    table.SetVirtualAddressMap = SetVirtualAddressMap;
    table.ConvertPointer = ConvertPointer;
    table.GetVariable = GetVariable;
    table.GetNextVariableName = GetNextVariableName;
    table.SetVariable = SetVariable;
    table.GetNextHighMonotonicCount = GetNextHighMonotonicCount;
    table.ResetSystem = ResetSystem;
    table.UpdateCapsule = UpdateCapsule;
    table.QueryCapsuleCapabilities = QueryCapsuleCapabilities;
    table.QueryVariableInfo = QueryVariableInfo;
    SealTableHeader(table.Hdr, EFI_RUNTIME_SERVICES_SIGNATURE, sizeof table);
    return table;
  }
};

template <std::size_t... Slots>
constexpr auto MakeRuntimeTableBuilders(std::index_sequence<Slots...>) {
  return std::array<EFI_RUNTIME_SERVICES (*)(), sizeof...(Slots)>{&RuntimeThunks<Slots>::Table...};
}

constexpr auto kRuntimeTableBuilders =
    MakeRuntimeTableBuilders(std::make_index_sequence<kImageSlotCount>{});

}  // namespace

EFI_RUNTIME_SERVICES RuntimeServicesTableFor(std::size_t slot) {
  return kRuntimeTableBuilders.at(slot)();
}

}  // namespace carvex::sim
