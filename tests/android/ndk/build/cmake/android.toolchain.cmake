# Lies where an NDK has its toolchain file and stands in for it where there is no NDK: the same processor, compiler and
# C++ library, but Debian's C library. What is built with it can be linked and looked at; to run, it would need a
# libc++ of that processor, which Debian does not install beside the host's own.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_CXX_COMPILER clang++-14)
set(CMAKE_CXX_COMPILER_TARGET aarch64-linux-gnu)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

get_property(trying GLOBAL PROPERTY IN_TRY_COMPILE)
set(stub ${CMAKE_BINARY_DIR}/libc++.so)
if(NOT trying AND NOT EXISTS ${stub})
  execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/../../libcxx-stub ${stub} COMMAND_ERROR_IS_FATAL ANY)
endif()
add_compile_options(-nostdinc++ -isystem /usr/lib/llvm-14/include/c++/v1)
# Segments for pages of 4 KiB, as NDKs make them on their own.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-nostdlib++ ${stub} -Wl,-z,max-page-size=4096")
