# vt_room(<room> SOURCES ... HEADERS ... [INTERNAL ...] [USES <room>...])
#
# Makes the static library vt_<room> from the files of one room (vt_flat for pki/flat). USES names the rooms that it
# may call; tests/rooms holds the whole table and checks the #include lines against it. The headers form file sets, so
# that CMake can compile each alone. INTERNAL are headers for our own sources alone: packaging/ installs those of the
# toolkit's rooms that are not.
function(vt_room room)
  cmake_parse_arguments(ARG "" "" "SOURCES;HEADERS;INTERNAL;USES" ${ARGN})
  foreach(header IN LISTS ARG_INTERNAL)
    if(header IN_LIST ARG_HEADERS)
      message(FATAL_ERROR "vt_room(${room}): ${header} is listed as installed and as internal")
    endif()
  endforeach()
  set(target vt_${room})
  if(ARG_SOURCES)
    add_library(${target} STATIC ${ARG_SOURCES})
    set(scope PUBLIC)
    target_link_libraries(${target} PUBLIC $<BUILD_INTERFACE:vt_options>)
  else()
    add_library(${target} INTERFACE)
    set(scope INTERFACE)
    target_link_libraries(${target} INTERFACE $<BUILD_INTERFACE:vt_options>)
  endif()
  target_sources(${target} ${scope}
    FILE_SET HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${ARG_HEADERS})
  if(ARG_INTERNAL)
    target_sources(${target} ${scope}
      FILE_SET internal TYPE HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${ARG_INTERNAL})
  endif()
  set_target_properties(${target} PROPERTIES VERIFY_INTERFACE_HEADER_SETS ON)
  foreach(used IN LISTS ARG_USES)
    target_link_libraries(${target} ${scope} vt_${used})
  endforeach()
endfunction()

# vt_exporting_library(<target>)
#
# A shared library of ours exports what is marked VT_API and nothing of the C++ library, and is quick to load: little to
# relocate, nothing bound before it is called. (A browser loads the plug-in for every page that embeds it.)
function(vt_exporting_library target)
  if(WIN32)
    return()
  endif()
  include(CheckLinkerFlag)
  check_linker_flag(CXX "-Wl,-z,pack-relative-relocs" VT_LINKER_PACKS_RELOCS)
  set(map "${PROJECT_SOURCE_DIR}/plugin/npvemtrel_certenroll.map")
  set(variables "${PROJECT_SOURCE_DIR}/plugin/shared_variables.list")
  target_link_options(${target} PRIVATE
    "-Wl,--version-script=${map}" "-Wl,--dynamic-list=${variables}"
    -Wl,-z,lazy -Wl,--as-needed -Wl,-O1
    $<$<BOOL:${VT_LINKER_PACKS_RELOCS}>:-Wl,-z,pack-relative-relocs>)
  set_target_properties(${target} PROPERTIES LINK_DEPENDS "${map};${variables}")
endfunction()

# vt_room_tests(<room> SOURCES ... [LIBRARIES ...] [NAME <program>])
#
# Makes the GoogleTest program test_<room>. The room under test is linked whole, and only with the rooms below it, so
# that a call upwards does not link. Natively every test case is a ctest of its own; under Wine the program is one.
# ctest labels name the room.
function(vt_room_tests room)
  cmake_parse_arguments(ARG "" "NAME" "SOURCES;LIBRARIES" ${ARGN})
  if(NOT ARG_NAME)
    set(ARG_NAME test_${room})
  endif()
  add_executable(${ARG_NAME} ${ARG_SOURCES})
  get_target_property(kind vt_${room} TYPE)
  if(kind STREQUAL "INTERFACE_LIBRARY")
    target_link_libraries(${ARG_NAME} PRIVATE vt_${room})
  else()
    target_link_libraries(${ARG_NAME} PRIVATE $<LINK_LIBRARY:WHOLE_ARCHIVE,vt_${room}>)
  endif()
  target_link_libraries(${ARG_NAME} PRIVATE vt_options vt_test_support GTest::gmock_main ${ARG_LIBRARIES})
  vt_add_gtest(${ARG_NAME} ${room})
endfunction()

# vt_label_needs(<label> <target>...): what the tests of a label run is built by the target tests_<label>.
function(vt_label_needs label)
  if(NOT TARGET tests_${label})
    add_custom_target(tests_${label})
  endif()
  if(ARGN)
    add_dependencies(tests_${label} ${ARGN})
  endif()
endfunction()

# vt_add_gtest(<program> <label>): registers a GoogleTest program with ctest.
function(vt_add_gtest program label)
  vt_label_needs(${label} ${program})
  if(CMAKE_CROSSCOMPILING)
    add_test(NAME ${label}.${program} COMMAND ${program})
    # One Wine prefix, one certificate store: programs take turns.
    set_tests_properties(${label}.${program} PROPERTIES LABELS ${label} RUN_SERIAL ON TIMEOUT 900)
  elseif(VT_COVERAGE)
    # Each process adds its counters to some hundred files when it ends; one a program is enough.
    add_test(NAME ${label}.${program} COMMAND ${program})
    set_tests_properties(${label}.${program} PROPERTIES LABELS ${label} TIMEOUT 900)
  else()
    gtest_discover_tests(${program} TEST_PREFIX ${label}. DISCOVERY_TIMEOUT 60
      PROPERTIES LABELS ${label} TIMEOUT 300)
  endif()
endfunction()
