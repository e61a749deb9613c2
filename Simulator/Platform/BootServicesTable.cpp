// The per-slot boot services thunks. Each one finds its boot and image
// through the slot, captures its own return address (the caller's call
// site), and keeps exceptions on this side of the table.
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

#include "BootServices.hpp"
#include "Guard.hpp"
#include "ImageTablesInternal.hpp"

namespace carvex::sim {

namespace {

void ReportUnbound(const char* service) {
  std::fprintf(stderr, "carvex platform: %s called through a table of an unloaded image\n",
               service);
}

template <std::size_t S>
struct BootThunks {
  static BootServicesCore* Core() { return BindingOf(S).boot; }
  static ImageId Image() { return BindingOf(S).image; }

  // Runs body(core, image) behind the exception guard.
  template <class Body>
  static EFI_STATUS Call(const char* service, Body&& body) {
    BootServicesCore* core = Core();
    if (core == nullptr) {
      ReportUnbound(service);
      return EFI_NOT_READY;
    }
    return GuardStatus(&core->Log(), service, [&] { return body(*core, Image()); });
  }

  static EFI_STATUS NotOffered(const char* service) {
    return Call(service, [&](BootServicesCore& core, ImageId image) {
      core.Log().Note(core.ImageName(image) + " called " + service +
                      ", which this platform does not offer");
      return EFI_UNSUPPORTED;
    });
  }

  static EFI_TPL EFIAPI RaiseTpl(EFI_TPL newTpl) {
    BootServicesCore* core = Core();
    if (core == nullptr) {
      ReportUnbound("RaiseTPL");
      return TPL_APPLICATION;
    }
    return GuardValue<EFI_TPL>(&core->Log(), "RaiseTPL", core->Events().CurrentTpl(),
                               [&] { return core->Events().RaiseTpl(Image(), newTpl); });
  }

  static VOID EFIAPI RestoreTpl(EFI_TPL oldTpl) {
    BootServicesCore* core = Core();
    if (core == nullptr) {
      ReportUnbound("RestoreTPL");
      return;
    }
    GuardVoid(&core->Log(), "RestoreTPL", [&] { core->Events().RestoreTpl(Image(), oldTpl); });
  }

  static EFI_STATUS EFIAPI AllocatePages(EFI_ALLOCATE_TYPE, EFI_MEMORY_TYPE, UINTN,
                                         EFI_PHYSICAL_ADDRESS*) {
    return NotOffered("AllocatePages");
  }
  static EFI_STATUS EFIAPI FreePages(EFI_PHYSICAL_ADDRESS, UINTN) {
    return NotOffered("FreePages");
  }
  static EFI_STATUS EFIAPI GetMemoryMap(UINTN*, EFI_MEMORY_DESCRIPTOR*, UINTN*, UINTN*,
                                        UINT32*) {
    return NotOffered("GetMemoryMap");
  }

  static EFI_STATUS EFIAPI AllocatePool(EFI_MEMORY_TYPE type, UINTN size, VOID** buffer) {
    void* returnAddress = __builtin_return_address(0);
    return Call("AllocatePool", [&](BootServicesCore& core, ImageId image) {
      return core.AllocatePool(image, type, size, buffer, returnAddress);
    });
  }

  static EFI_STATUS EFIAPI FreePool(VOID* buffer) {
    void* returnAddress = __builtin_return_address(0);
    return Call("FreePool", [&](BootServicesCore& core, ImageId image) {
      return core.FreePool(image, buffer, returnAddress);
    });
  }

  static EFI_STATUS EFIAPI CreateEvent(UINT32 type, EFI_TPL notifyTpl, EFI_EVENT_NOTIFY notify,
                                       VOID* context, EFI_EVENT* event) {
    return Call("CreateEvent", [&](BootServicesCore& core, ImageId image) {
      return core.Events().CreateEvent(image, type, notifyTpl, notify, context, nullptr, event);
    });
  }

  static EFI_STATUS EFIAPI CreateEventEx(UINT32 type, EFI_TPL notifyTpl, EFI_EVENT_NOTIFY notify,
                                         CONST VOID* context, CONST EFI_GUID* group,
                                         EFI_EVENT* event) {
    return Call("CreateEventEx", [&](BootServicesCore& core, ImageId image) {
      return core.Events().CreateEvent(image, type, notifyTpl, notify, context, group, event);
    });
  }

  static EFI_STATUS EFIAPI SetTimer(EFI_EVENT, EFI_TIMER_DELAY, UINT64) {
    return NotOffered("SetTimer");
  }

  static EFI_STATUS EFIAPI WaitForEvent(UINTN count, EFI_EVENT* events, UINTN* index) {
    return Call("WaitForEvent", [&](BootServicesCore& core, ImageId image) {
      return core.Events().WaitForEvent(image, count, events, index);
    });
  }

  static EFI_STATUS EFIAPI SignalEvent(EFI_EVENT event) {
    return Call("SignalEvent",
                [&](BootServicesCore& core, ImageId) { return core.Events().SignalEvent(event); });
  }

  static EFI_STATUS EFIAPI CloseEvent(EFI_EVENT event) {
    return Call("CloseEvent",
                [&](BootServicesCore& core, ImageId) { return core.Events().CloseEvent(event); });
  }

  static EFI_STATUS EFIAPI CheckEvent(EFI_EVENT event) {
    return Call("CheckEvent",
                [&](BootServicesCore& core, ImageId) { return core.Events().CheckEvent(event); });
  }

  static EFI_STATUS EFIAPI InstallProtocolInterface(EFI_HANDLE* handle, EFI_GUID* protocol,
                                                    EFI_INTERFACE_TYPE type, VOID* interface) {
    return Call("InstallProtocolInterface", [&](BootServicesCore& core, ImageId image) {
      return core.Protocols().Install(image, handle, protocol, type, interface);
    });
  }

  static EFI_STATUS EFIAPI ReinstallProtocolInterface(EFI_HANDLE handle, EFI_GUID* protocol,
                                                      VOID* oldInterface, VOID* newInterface) {
    return Call("ReinstallProtocolInterface", [&](BootServicesCore& core, ImageId image) {
      return core.Protocols().Reinstall(image, handle, protocol, oldInterface, newInterface);
    });
  }

  static EFI_STATUS EFIAPI UninstallProtocolInterface(EFI_HANDLE handle, EFI_GUID* protocol,
                                                      VOID* interface) {
    return Call("UninstallProtocolInterface", [&](BootServicesCore& core, ImageId image) {
      return core.Protocols().Uninstall(image, handle, protocol, interface);
    });
  }

  static EFI_STATUS EFIAPI HandleProtocol(EFI_HANDLE handle, EFI_GUID* protocol,
                                          VOID** interface) {
    return Call("HandleProtocol", [&](BootServicesCore& core, ImageId) {
      return core.Protocols().HandleProtocol(handle, protocol, interface);
    });
  }

  static EFI_STATUS EFIAPI RegisterProtocolNotify(EFI_GUID* protocol, EFI_EVENT event,
                                                  VOID** registration) {
    return Call("RegisterProtocolNotify", [&](BootServicesCore& core, ImageId image) {
      return core.Protocols().RegisterProtocolNotify(image, protocol, event, registration);
    });
  }

  static EFI_STATUS EFIAPI LocateHandle(EFI_LOCATE_SEARCH_TYPE searchType, EFI_GUID* protocol,
                                        VOID* searchKey, UINTN* bufferSize, EFI_HANDLE* buffer) {
    return Call("LocateHandle", [&](BootServicesCore& core, ImageId) {
      return core.Protocols().LocateHandle(searchType, protocol, searchKey, bufferSize, buffer);
    });
  }

  static EFI_STATUS EFIAPI LocateDevicePath(EFI_GUID* protocol,
                                            EFI_DEVICE_PATH_PROTOCOL** devicePath,
                                            EFI_HANDLE* device) {
    return Call("LocateDevicePath", [&](BootServicesCore& core, ImageId) {
      return core.Protocols().LocateDevicePath(protocol, devicePath, device);
    });
  }

  static EFI_STATUS EFIAPI InstallConfigurationTable(EFI_GUID*, VOID*) {
    return NotOffered("InstallConfigurationTable");
  }
  static EFI_STATUS EFIAPI LoadImage(BOOLEAN, EFI_HANDLE, EFI_DEVICE_PATH_PROTOCOL*, VOID*, UINTN,
                                     EFI_HANDLE*) {
    return NotOffered("LoadImage");
  }
  static EFI_STATUS EFIAPI StartImage(EFI_HANDLE, UINTN*, CHAR16**) {
    return NotOffered("StartImage");
  }
  static EFI_STATUS EFIAPI Exit(EFI_HANDLE, EFI_STATUS, UINTN, CHAR16*) {
    return NotOffered("Exit");
  }
  static EFI_STATUS EFIAPI UnloadImage(EFI_HANDLE) { return NotOffered("UnloadImage"); }
  static EFI_STATUS EFIAPI ExitBootServices(EFI_HANDLE, UINTN) {
    return NotOffered("ExitBootServices");
  }

  static EFI_STATUS EFIAPI GetNextMonotonicCount(UINT64* count) {
    return Call("GetNextMonotonicCount", [&](BootServicesCore& core, ImageId) {
      return core.GetNextMonotonicCount(count);
    });
  }

  static EFI_STATUS EFIAPI Stall(UINTN microseconds) {
    return Call("Stall", [&](BootServicesCore& core, ImageId) { return core.Stall(microseconds); });
  }

  static EFI_STATUS EFIAPI SetWatchdogTimer(UINTN, UINT64, UINTN, CHAR16*) {
    return NotOffered("SetWatchdogTimer");
  }
  static EFI_STATUS EFIAPI ConnectController(EFI_HANDLE, EFI_HANDLE*, EFI_DEVICE_PATH_PROTOCOL*,
                                             BOOLEAN) {
    return NotOffered("ConnectController");
  }
  static EFI_STATUS EFIAPI DisconnectController(EFI_HANDLE, EFI_HANDLE, EFI_HANDLE) {
    return NotOffered("DisconnectController");
  }

  static EFI_STATUS EFIAPI OpenProtocol(EFI_HANDLE handle, EFI_GUID* protocol, VOID** interface,
                                        EFI_HANDLE agent, EFI_HANDLE controller,
                                        UINT32 attributes) {
    return Call("OpenProtocol", [&](BootServicesCore& core, ImageId) {
      return core.Protocols().OpenProtocol(handle, protocol, interface, agent, controller,
                                           attributes);
    });
  }

  static EFI_STATUS EFIAPI CloseProtocol(EFI_HANDLE handle, EFI_GUID* protocol, EFI_HANDLE agent,
                                         EFI_HANDLE controller) {
    return Call("CloseProtocol", [&](BootServicesCore& core, ImageId) {
      return core.Protocols().CloseProtocol(handle, protocol, agent, controller);
    });
  }

  static EFI_STATUS EFIAPI OpenProtocolInformation(EFI_HANDLE handle, EFI_GUID* protocol,
                                                   EFI_OPEN_PROTOCOL_INFORMATION_ENTRY** entries,
                                                   UINTN* count) {
    void* returnAddress = __builtin_return_address(0);
    return Call("OpenProtocolInformation", [&](BootServicesCore& core, ImageId image) {
      return core.OpenProtocolInformation(image, handle, protocol, entries, count, returnAddress);
    });
  }

  static EFI_STATUS EFIAPI ProtocolsPerHandle(EFI_HANDLE handle, EFI_GUID*** protocols,
                                              UINTN* count) {
    void* returnAddress = __builtin_return_address(0);
    return Call("ProtocolsPerHandle", [&](BootServicesCore& core, ImageId image) {
      return core.ProtocolsPerHandle(image, handle, protocols, count, returnAddress);
    });
  }

  static EFI_STATUS EFIAPI LocateHandleBuffer(EFI_LOCATE_SEARCH_TYPE searchType,
                                              EFI_GUID* protocol, VOID* searchKey, UINTN* count,
                                              EFI_HANDLE** buffer) {
    void* returnAddress = __builtin_return_address(0);
    return Call("LocateHandleBuffer", [&](BootServicesCore& core, ImageId image) {
      return core.LocateHandleBuffer(image, searchType, protocol, searchKey, count, buffer,
                                     returnAddress);
    });
  }

  static EFI_STATUS EFIAPI LocateProtocol(EFI_GUID* protocol, VOID* registration,
                                          VOID** interface) {
    return Call("LocateProtocol", [&](BootServicesCore& core, ImageId image) {
      return core.Protocols().LocateProtocol(image, protocol, registration, interface);
    });
  }

  // NULL-terminated (GUID, interface) pairs.
  static ProtocolDatabase::Pairs ReadPairs(va_list args) {
    ProtocolDatabase::Pairs pairs;
    for (;;) {
      auto* protocol = va_arg(args, EFI_GUID*);
      if (protocol == nullptr) {
        break;
      }
      auto* interface = va_arg(args, VOID*);
      pairs.emplace_back(protocol, interface);
    }
    return pairs;
  }

  static EFI_STATUS EFIAPI InstallMultipleProtocolInterfaces(EFI_HANDLE* handle, ...) {
    va_list args;
    va_start(args, handle);
    ProtocolDatabase::Pairs pairs;
    const EFI_STATUS read = GuardStatus(nullptr, "InstallMultipleProtocolInterfaces", [&] {
      pairs = ReadPairs(args);
      return EFI_SUCCESS;
    });
    va_end(args);
    if (read != EFI_SUCCESS) {
      return read;
    }
    return Call("InstallMultipleProtocolInterfaces", [&](BootServicesCore& core, ImageId image) {
      return core.Protocols().InstallMultiple(image, handle, pairs);
    });
  }

  static EFI_STATUS EFIAPI UninstallMultipleProtocolInterfaces(EFI_HANDLE handle, ...) {
    va_list args;
    va_start(args, handle);
    ProtocolDatabase::Pairs pairs;
    const EFI_STATUS read = GuardStatus(nullptr, "UninstallMultipleProtocolInterfaces", [&] {
      pairs = ReadPairs(args);
      return EFI_SUCCESS;
    });
    va_end(args);
    if (read != EFI_SUCCESS) {
      return read;
    }
    return Call("UninstallMultipleProtocolInterfaces", [&](BootServicesCore& core, ImageId image) {
      return core.Protocols().UninstallMultiple(image, handle, pairs);
    });
  }

  static EFI_STATUS EFIAPI CalculateCrc32(VOID* data, UINTN size, UINT32* crc) {
    return BootServicesCore::CalculateCrc32(data, size, crc);
  }

  static VOID EFIAPI CopyMem(VOID* destination, VOID* source, UINTN length) {
    if (length != 0) {
      std::memmove(destination, source, length);  // overlapping copies allowed
    }
  }

  static VOID EFIAPI SetMem(VOID* buffer, UINTN size, UINT8 value) {
    if (size != 0) {
      std::memset(buffer, value, size);
    }
  }

  static EFI_BOOT_SERVICES Table() {
    EFI_BOOT_SERVICES table{};
    table.RaiseTPL = RaiseTpl;
    table.RestoreTPL = RestoreTpl;
    table.AllocatePages = AllocatePages;
    table.FreePages = FreePages;
    table.GetMemoryMap = GetMemoryMap;
    table.AllocatePool = AllocatePool;
    table.FreePool = FreePool;
    table.CreateEvent = CreateEvent;
    table.SetTimer = SetTimer;
    table.WaitForEvent = WaitForEvent;
    table.SignalEvent = SignalEvent;
    table.CloseEvent = CloseEvent;
    table.CheckEvent = CheckEvent;
    table.InstallProtocolInterface = InstallProtocolInterface;
    table.ReinstallProtocolInterface = ReinstallProtocolInterface;
    table.UninstallProtocolInterface = UninstallProtocolInterface;
    table.HandleProtocol = HandleProtocol;
    table.Reserved = nullptr;
    table.RegisterProtocolNotify = RegisterProtocolNotify;
    table.LocateHandle = LocateHandle;
    table.LocateDevicePath = LocateDevicePath;
    table.InstallConfigurationTable = InstallConfigurationTable;
    table.LoadImage = LoadImage;
    table.StartImage = StartImage;
    table.Exit = Exit;
    table.UnloadImage = UnloadImage;
    table.ExitBootServices = ExitBootServices;
    table.GetNextMonotonicCount = GetNextMonotonicCount;
    table.Stall = Stall;
    table.SetWatchdogTimer = SetWatchdogTimer;
    table.ConnectController = ConnectController;
    table.DisconnectController = DisconnectController;
    table.OpenProtocol = OpenProtocol;
    table.CloseProtocol = CloseProtocol;
    table.OpenProtocolInformation = OpenProtocolInformation;
    table.ProtocolsPerHandle = ProtocolsPerHandle;
    table.LocateHandleBuffer = LocateHandleBuffer;
    table.LocateProtocol = LocateProtocol;
    table.InstallMultipleProtocolInterfaces = InstallMultipleProtocolInterfaces;
    table.UninstallMultipleProtocolInterfaces = UninstallMultipleProtocolInterfaces;
    table.CalculateCrc32 = CalculateCrc32;
    table.CopyMem = CopyMem;
    table.SetMem = SetMem;
    table.CreateEventEx = CreateEventEx;
    SealTableHeader(table.Hdr, EFI_BOOT_SERVICES_SIGNATURE, sizeof table);
    return table;
  }
};

template <std::size_t... Slots>
constexpr auto MakeBootTableBuilders(std::index_sequence<Slots...>) {
  return std::array<EFI_BOOT_SERVICES (*)(), sizeof...(Slots)>{&BootThunks<Slots>::Table...};
}

constexpr auto kBootTableBuilders = MakeBootTableBuilders(std::make_index_sequence<kImageSlotCount>{});

}  // namespace

EFI_BOOT_SERVICES BootServicesTableFor(std::size_t slot) { return kBootTableBuilders.at(slot)(); }

}  // namespace carvex::sim
