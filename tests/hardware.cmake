# Tests of the hardware access: here at the link seam; on a real kernel by guest/run.
find_package(spdlog REQUIRED)
rtk_add_test(hardware_test SOURCES unit/hardware_test.cpp fakes/fake_kernel.cpp fakes/failing_new.cpp
             LIBS spdlog::spdlog WRAP open __open_2 close ioctl write read stat LABELS hardware)
