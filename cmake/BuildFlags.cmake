# Flags that every target of ours is compiled with.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)   # programs are linked as position-independent, whatever the compiler's default

add_compile_options(
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Wnon-virtual-dtor -Wformat=2
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>   # GCC 12 warns of overlaps in std::string that cannot be
  $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>   # unique symbols would keep the library from being unloaded
  -ffp-contract=off)      # fused multiply-adds would print other last digits on Arm than on x86
add_link_options(-Wl,-z,relro,-z,now,-z,noexecstack)

# What is shipped is hardened, and so is what is tested every day. Sanitizers bring their own checks.
option(RTK_UTILS_HARDENED "Guards against overwritten stacks, buffers and branch targets" ON)
if(RTK_UTILS_HARDENED AND CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo)$")   # fortified calls need optimisation
  add_compile_options(-fstack-protector-strong -fstack-clash-protection -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
  if(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
    add_compile_options(-mbranch-protection=standard)
  endif()
endif()
