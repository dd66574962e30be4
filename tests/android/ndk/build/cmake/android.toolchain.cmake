# Lies where an NDK has its toolchain file and stands in for it where there is no NDK: the same processor, compiler and
# C++ library, but Debian's C library. What is linked against the shared libc++ can be looked at; to run, it would need
# one of that processor, which Debian does not install beside the host's own. What has libc++ in it runs in an emulator.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_CXX_COMPILER clang++-14)
set(CMAKE_CXX_COMPILER_TARGET aarch64-linux-gnu)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

get_property(trying GLOBAL PROPERTY IN_TRY_COMPILE)
set(libraries ${CMAKE_BINARY_DIR}/libcxx)
if(NOT trying AND NOT EXISTS ${libraries}/libc++.so)
  file(MAKE_DIRECTORY ${libraries})
  # An NDK's is such a list, too. The two are unpacked by scripts/setup.
  set(unpacked /usr/local/lib/libcxx-14-arm64)
  file(WRITE ${libraries}/libc++.a "INPUT(${unpacked}/libc++.a ${unpacked}/libc++abi.a)\n")
  # Of an NDK's own libraries.
  file(CREATE_LINK /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/libz.a ${libraries}/libz.a SYMBOLIC)
  foreach(header zlib.h zconf.h)
    file(CREATE_LINK /usr/include/${header} ${libraries}/${header} SYMBOLIC)
  endforeach()
  execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/../../libcxx-stub ${libraries}/libc++.so
                  COMMAND_ERROR_IS_FATAL ANY)
endif()
add_compile_options(-nostdinc++ -isystem /usr/lib/llvm-14/include/c++/v1 -isystem ${libraries})
# Segments for pages of 4 KiB, as NDKs make them on their own.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-stdlib=libc++ -L${libraries} -Wl,-z,max-page-size=4096")
