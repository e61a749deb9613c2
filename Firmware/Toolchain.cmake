# Cross toolchain for the firmware images: clang++ for x86_64-unknown-windows
# (the Microsoft x64 ABI UEFI requires, without a C or C++ runtime), objects
# linked by lld-link into PE32+ images and archived by lld-link /lib.
set(CMAKE_SYSTEM_NAME Generic)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

find_program(CARVEX_FW_CLANGXX NAMES clang++ clang++-14 clang++-15 clang++-16 REQUIRED)
find_program(CARVEX_FW_LLD_LINK NAMES lld-link lld-link-14 lld-link-15 lld-link-16 REQUIRED)

set(CMAKE_CXX_COMPILER ${CARVEX_FW_CLANGXX})
set(CARVEX_FW_TARGET x86_64-unknown-windows)
set(CMAKE_LINKER ${CARVEX_FW_LLD_LINK} CACHE FILEPATH "PE linker" FORCE)
set(CMAKE_AR ${CARVEX_FW_LLD_LINK} CACHE FILEPATH "COFF librarian (lld-link /lib)" FORCE)
# The compiler checks must not link: there is no CRT to link against.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

# No host headers: only the compiler's own stddef.h, stdint.h and stdarg.h.
set(CMAKE_CXX_FLAGS_INIT
  "--target=${CARVEX_FW_TARGET} -ffreestanding -nostdlibinc -fno-exceptions -fno-rtti -fno-threadsafe-statics \
-fno-c++-static-destructors -fno-stack-protector -mno-stack-arg-probe -mno-red-zone \
-ffp-contract=off -ffunction-sections -fdata-sections")
set(CMAKE_CXX_FLAGS_RELEASE_INIT "-Os")
set(CMAKE_CXX_FLAGS_DEBUG_INIT "-O0 -g")

# lld-link does the linking and the archiving; the image functions in
# Image/EfiImage.cmake add the subsystem and the layout options.
set(CMAKE_CXX_LINK_EXECUTABLE
  "<CMAKE_LINKER> /nologo /nodefaultlib <LINK_FLAGS> <OBJECTS> <LINK_LIBRARIES> /out:<TARGET>")
set(CMAKE_CXX_ARCHIVE_CREATE "<CMAKE_AR> /lib /nologo /out:<TARGET> <OBJECTS>")
set(CMAKE_CXX_ARCHIVE_APPEND "<CMAKE_AR> /lib /nologo /out:<TARGET> <TARGET> <OBJECTS>")
set(CMAKE_CXX_ARCHIVE_FINISH "")
