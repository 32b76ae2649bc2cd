# Tests of the hardware access: here at the link seam; on a real kernel by guest/run.
find_package(spdlog REQUIRED)
set(system_calls open __open_2 close ioctl write read stat)
rtk_add_test(CGpioUtils_test SOURCES unit/CGpioUtils_test.cpp fakes/fake_kernel.cpp
             LIBS spdlog::spdlog WRAP ${system_calls} LABELS hardware)
rtk_add_test(CI2cHelper_test SOURCES unit/CI2cHelper_test.cpp fakes/failing_new.cpp fakes/fake_kernel.cpp
             LIBS spdlog::spdlog WRAP ${system_calls} LABELS hardware)

# Runs as a host would, with the shared library, inside the guest.
add_executable(rtk_guest_test guest/guest_test.cpp)
target_include_directories(rtk_guest_test PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
target_link_libraries(rtk_guest_test PRIVATE rtk_utils spdlog::spdlog)

# Command lines that kvx refuses, and why; nothing is opened for them.
function(refused message)
  string(JOIN " " arguments ${ARGN})
  string(JOIN " " program ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:kvx>)
  add_test(NAME "kvx ${arguments}" COMMAND sh -c "${program} ${arguments} 2>&1; echo status $?")
  set_tests_properties("kvx ${arguments}" PROPERTIES LABELS hardware PASS_REGULAR_EXPRESSION "${message}.*status 2")
endfunction()
if(TARGET kvx)
  refused("subcommand is required"           gpio)
  refused("TARGET: 'x' is not a number"      gpio get x)
  refused("TARGET: ':5' names no chip"       gpio get :5)
  refused("TARGET: '' is not a number"       gpio get 1:)
  refused("--sysfs: needs a global NUMBER"   gpio set 1:5 1 --sysfs)
  refused("VALUE"                            gpio set 37 2)
  refused("ADDRESS: '0x80' is not a number"  i2c read /dev/i2c-0 0x80 0)
  refused("REGISTER: '256' is not a number"  i2c read /dev/i2c-0 0x50 256)
  refused("REGISTER: '1:12': an address has" i2c read /dev/i2c-0 0x50 1:12)
  refused("COUNT: '8193' is not a number"    i2c read /dev/i2c-0 0x50 0 8193)
  refused("COUNT: '0' is not a number"       i2c read /dev/i2c-0 0x50 0 0)
  refused("BYTE: '0x100' is not a number"    i2c write /dev/i2c-0 0x50 0 1 0x100)
endif()
