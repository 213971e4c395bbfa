# Compiles for macOS on a machine that is none: clang and lld of LLVM with Apple's headers. The toolchain
# file of scripts/check-macos, which makes HALVERCINE_MACOS_SDK and HALVERCINE_MACOS_PREFIX known.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR arm64)
set(triple arm64-apple-macos13)

set(sdk $ENV{HALVERCINE_MACOS_SDK})
set(prefix $ENV{HALVERCINE_MACOS_PREFIX})
foreach(language C CXX OBJCXX)
  set(CMAKE_${language}_COMPILER_TARGET ${triple})
endforeach()
set(CMAKE_CXX_COMPILER $ENV{HALVERCINE_MACOS_CLANG})
set(CMAKE_OBJCXX_COMPILER $ENV{HALVERCINE_MACOS_CLANG})
foreach(tool AR:llvm-ar RANLIB:llvm-ranlib NM:llvm-nm INSTALL_NAME_TOOL:llvm-install-name-tool)
  string(REGEX MATCH "^([A-Z_]+):(.*)$" ignored ${tool})
  set(CMAKE_${CMAKE_MATCH_1} $ENV{HALVERCINE_MACOS_TOOLS}/${CMAKE_MATCH_2} CACHE FILEPATH "")
endforeach()

# Apple's C++ headers know which function came with which system, and refuse what macOS 13 lacks. An
# SDK has its usual folders; a mere set of headers has them one level up.
if(IS_DIRECTORY ${sdk}/usr/include)
  set(headers ${sdk}/usr/include)
  set(frameworks ${sdk}/System/Library/Frameworks)
  set(root ${sdk})
else()
  set(headers ${sdk}/include)
  set(frameworks ${sdk}/Frameworks)
  set(root ${prefix}/root)
endif()
set(includes "-nostdinc++ -nostdlibinc -isystem ${headers}/c++/v1 -isystem ${headers} \
-iframework ${frameworks}")
set(CMAKE_CXX_FLAGS_INIT "${includes} -Wunguarded-availability")
set(CMAKE_OBJCXX_FLAGS_INIT "${includes} -Wunguarded-availability")

# What such a set has no list of exports for stays open here; scripts/check-macos looks at every such name.
# All of our own is linked, whether the program has a use for it or not.
set(CMAKE_EXE_LINKER_FLAGS_INIT "--ld-path=$ENV{HALVERCINE_MACOS_LINKER} -nostdlib \
-Wl,-undefined,dynamic_lookup -Wl,-all_load -Wl,-platform_version,macos,13.0,14.0 -Wl,-syslibroot,${root} \
-lobjc")
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

# Nothing of this machine but what the prefix holds: its headers are for another system.
set(CMAKE_FIND_ROOT_PATH ${prefix})
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_PACKAGE_PREFER_CONFIG ON)
set(CMAKE_FIND_FRAMEWORK NEVER)
set(ENV{PKG_CONFIG_LIBDIR} ${prefix}/lib/pkgconfig)
set(ENV{PKG_CONFIG_PATH} "")
