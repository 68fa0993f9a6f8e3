# What every target of the house shares: language level, warnings, sanitizers, include root.
include_guard(GLOBAL)
find_package(Threads REQUIRED)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

find_program(KORVANE_CCACHE ccache)
if(KORVANE_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${KORVANE_CCACHE}")
endif()

if(KORVANE_SANITIZE)
  add_compile_options(-fsanitize=${KORVANE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -O1 -g1)
  # Instrumented code makes the compiler see uninitialised values in the standard library where there are none.
  add_compile_options(-Wno-maybe-uninitialized)
  add_link_options(-fsanitize=${KORVANE_SANITIZE})
endif()

# g++ 12 takes "text" + string for an overlapping copy once it optimises.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  add_compile_options(-Wno-restrict)
endif()

# korvane_target(NAME): the compile rules of this repository for a target that exists.
function(korvane_target name)
  target_include_directories(${name} PUBLIC "${CMAKE_SOURCE_DIR}")
  target_compile_options(${name} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
endfunction()

# korvane_test(NAME SOURCES ... LIBRARIES ...): one GoogleTest program, which is one entry of ctest.
function(korvane_test name)
  cmake_parse_arguments(arg "" "" "SOURCES;LIBRARIES" ${ARGN})
  find_package(GTest REQUIRED)
  add_executable(${name} ${arg_SOURCES})
  korvane_target(${name})
  if(KORVANE_SANITIZE)
    target_compile_options(${name} PRIVATE -O0)  # what is under test is optimised, the tests themselves need not be
  endif()
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} GTest::gtest GTest::gmock)
  if(NOT arg_LIBRARIES MATCHES "korvane_qt_test_main")
    target_link_libraries(${name} PRIVATE GTest::gtest_main)
  endif()
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES TIMEOUT 600
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;QT_QUICK_BACKEND=software;QML_NO_TOUCH_COMPRESSION=1")
endfunction()

# korvane_headers_alone(NAME LIBRARY HEADERS ...): each public header must compile by itself. Once is enough: not under a
# sanitizer.
function(korvane_headers_alone name library)
  if(KORVANE_SANITIZE)
    return()
  endif()
  set(sources "")
  foreach(header ${ARGN})
    string(MAKE_C_IDENTIFIER "${header}" id)
    set(source "${CMAKE_CURRENT_BINARY_DIR}/alone/${name}/${id}.cpp")
    file(CONFIGURE OUTPUT "${source}" CONTENT "#include \"${header}\" // IWYU pragma: keep\n")
    list(APPEND sources "${source}")
  endforeach()
  add_library(${name} OBJECT ${sources})
  korvane_target(${name})
  target_link_libraries(${name} PRIVATE ${library})
endfunction()
