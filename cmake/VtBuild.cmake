# Language level, warnings, sanitizers and output folders, the same for every target.
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

# Room libraries in lib/, test programs in bin/, the product at the top of the build tree.
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")

find_program(VT_CCACHE ccache)
if(VT_CCACHE)
  set(CMAKE_C_COMPILER_LAUNCHER "${VT_CCACHE}")
  set(CMAKE_CXX_COMPILER_LAUNCHER "${VT_CCACHE}")
endif()

# Every target of ours links this; third-party sources (GoogleTest on Windows) do not.
add_library(vt_options INTERFACE)
target_include_directories(vt_options INTERFACE "${PROJECT_SOURCE_DIR}")
target_compile_options(vt_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wvla
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual>
  $<$<BOOL:${VT_WARNINGS_AS_ERRORS}>:-Werror>)

if(VT_SANITIZE)
  add_compile_options(-fsanitize=${VT_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${VT_SANITIZE})
endif()
if(VT_COVERAGE)
  add_compile_options(--coverage -fprofile-abs-path)
  add_link_options(--coverage)
endif()
