# What every target of the house shares: language level, warnings, sanitizers, include root.
include_guard(GLOBAL)
find_package(Threads REQUIRED)

set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
# The libraries are static. What a host makes of them, a shared library say, exports none of our symbols.
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

if(PROJECT_IS_TOP_LEVEL)
  find_program(KORVANE_CCACHE ccache)
  if(KORVANE_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${KORVANE_CCACHE}")
  endif()
  find_program(KORVANE_LLD ld.lld)
  if(KORVANE_LLD)
    add_link_options(-fuse-ld=lld)
  endif()
endif()

if(KORVANE_SANITIZE)
  add_compile_options(-fsanitize=${KORVANE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -O1 -g1)
  # Instrumented code makes g++ see uninitialised values in the standard library where there are none.
  add_compile_options($<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  add_link_options(-fsanitize=${KORVANE_SANITIZE})
endif()

# What people run meets foreign files and services: a fault in it is to end the program, not to serve an attacker.
if(PROJECT_IS_TOP_LEVEL AND CMAKE_BUILD_TYPE MATCHES "^Rel" AND NOT KORVANE_SANITIZE)
  include(CheckCXXCompilerFlag)
  include(CheckPIESupported)
  check_pie_supported(LANGUAGES CXX)
  foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection -ftrivial-auto-var-init=zero)
    string(MAKE_C_IDENTIFIER "KORVANE_HAS${flag}" known)
    check_cxx_compiler_flag(${flag} ${known})
    if(${known})
      add_compile_options(${flag})
    endif()
  endforeach()
  add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=$<IF:$<VERSION_LESS:$<CXX_COMPILER_VERSION>,12>,2,3>)
  add_compile_options(-D_GLIBCXX_ASSERTIONS)
  add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
endif()

# What is under test may be optimised, the tests themselves need not be, nor be looked through for undefined behaviour,
# which makes them half as long again to compile; -fPIC as in their precompiled header.
set(KORVANE_TEST_OPTIONS -fPIC)
if(KORVANE_SANITIZE OR NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
  list(APPEND KORVANE_TEST_OPTIONS -O0 -U_FORTIFY_SOURCE)
endif()
if(KORVANE_SANITIZE MATCHES "undefined")
  list(APPEND KORVANE_TEST_OPTIONS -fno-sanitize=undefined)
endif()
if(KORVANE_PCH)
  add_compile_options(-fpch-preprocess)  # ccache sees the header's contents
endif()

# g++ 12 takes "text" + string for an overlapping copy once it optimises.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  add_compile_options(-Wno-restrict)
endif()

# Headers are included as "korvane/<room>/...", so that none of ours meets another library's: the include root holds nothing
# but a link of that name to the source tree.
set(KORVANE_INCLUDE_ROOT "${PROJECT_BINARY_DIR}/include")
file(MAKE_DIRECTORY "${KORVANE_INCLUDE_ROOT}")
file(CREATE_LINK "${PROJECT_SOURCE_DIR}" "${KORVANE_INCLUDE_ROOT}/korvane" SYMBOLIC)

# korvane_target(NAME [PCH KIND]): the compile rules of this repository for a target that exists, and the precompiled header
# that it shares with its like (see cmake/pch).
function(korvane_target name)
  cmake_parse_arguments(arg "" "PCH" "" ${ARGN})
  target_compile_features(${name} PUBLIC cxx_std_20)
  target_include_directories(${name} PRIVATE "${KORVANE_INCLUDE_ROOT}")
  target_compile_options(${name} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion $<$<BOOL:${KORVANE_WERROR}>:-Werror>)
  if(KORVANE_PCH AND arg_PCH)
    target_precompile_headers(${name} REUSE_FROM korvane_pch_${arg_PCH})
  endif()
endfunction()

# korvane_public_headers(NAME HEADERS ...): headers of a target that others include, and that are installed with it. The
# target all_verify_interface_header_sets compiles each by itself.
function(korvane_public_headers name)
  set(headers "")
  foreach(header ${ARGN})
    file(RELATIVE_PATH header "${PROJECT_SOURCE_DIR}" "${CMAKE_CURRENT_SOURCE_DIR}/${header}")
    list(APPEND headers "${KORVANE_INCLUDE_ROOT}/korvane/${header}")
  endforeach()
  set_source_files_properties(${headers} PROPERTIES SKIP_AUTOMOC ON)  # moc reads them in the source tree
  target_sources(${name} PUBLIC FILE_SET HEADERS BASE_DIRS "${KORVANE_INCLUDE_ROOT}" FILES ${headers})
endfunction()

# korvane_test(NAME SOURCES ... LIBRARIES ...): one GoogleTest program, which is one entry of ctest. It counts as two of the
# jobs of `ctest -j`, so that tests that mostly wait (see korvane_shards) run in greater number.
function(korvane_test name)
  cmake_parse_arguments(arg "" "" "SOURCES;LIBRARIES" ${ARGN})
  find_package(GTest REQUIRED)
  add_executable(${name} ${arg_SOURCES})
  target_compile_options(${name} PRIVATE ${KORVANE_TEST_OPTIONS})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} GTest::gtest GTest::gmock)
  if(arg_LIBRARIES MATCHES "korvane_qt_test_main")
    korvane_target(${name} PCH qt_test)
  else()
    korvane_target(${name} PCH test)
    target_link_libraries(${name} PRIVATE GTest::gtest_main)
  endif()
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES TIMEOUT 600 PROCESSORS 2
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;QT_QUICK_BACKEND=software;QML_NO_TOUCH_COMPRESSION=1")
endfunction()
