# The toolkit's libraries, its headers, and what outside projects ask for them.
set(toolkit_rooms foundation ber crypto asn schema token pki flat)  # those with headers for strangers
set(objects)
foreach(room IN LISTS toolkit_rooms ITEMS platform)
  list(APPEND objects $<TARGET_OBJECTS:vt_${room}>)
endforeach()

find_package(Threads REQUIRED)
add_library(vt_toolkit SHARED ${objects})
vt_exporting_library(vt_toolkit)
set_target_properties(vt_toolkit PROPERTIES
  VERSION "${PROJECT_VERSION}" SOVERSION "${PROJECT_VERSION_MAJOR}" EXPORT_NAME toolkit)
target_link_libraries(vt_toolkit PRIVATE ${CMAKE_DL_LIBS})

# Debugging information names the folders of this build; CMake strips it from programs and shared libraries only.
add_library(vt_toolkit_static STATIC ${objects})
set_target_properties(vt_toolkit_static PROPERTIES EXPORT_NAME toolkit_static)
target_link_libraries(vt_toolkit_static INTERFACE ${CMAKE_DL_LIBS} Threads::Threads)
add_custom_command(TARGET vt_toolkit_static POST_BUILD
  COMMAND "${CMAKE_STRIP}" --strip-debug --remove-section=.comment "$<TARGET_FILE:vt_toolkit_static>" VERBATIM)

set(headers_folder "${CMAKE_INSTALL_INCLUDEDIR}/${PROJECT_NAME}")
foreach(library vt_toolkit vt_toolkit_static)
  set_target_properties(${library} PROPERTIES
    OUTPUT_NAME "${PROJECT_NAME}" LINKER_LANGUAGE CXX
    LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}" ARCHIVE_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}")
  target_include_directories(${library} INTERFACE "$<INSTALL_INTERFACE:${headers_folder}>")
  target_compile_features(${library} INTERFACE cxx_std_17)
endforeach()
add_dependencies(products vt_toolkit vt_toolkit_static)

install(TARGETS vt_toolkit EXPORT toolkit
  LIBRARY COMPONENT library NAMELINK_COMPONENT development)
install(TARGETS vt_toolkit_static EXPORT toolkit
  ARCHIVE COMPONENT development)

# Each room is a folder below one include folder, as in the tree.
foreach(room IN LISTS toolkit_rooms)
  get_target_property(headers vt_${room} HEADER_SET)
  get_target_property(folder vt_${room} SOURCE_DIR)
  cmake_path(RELATIVE_PATH folder BASE_DIRECTORY "${PROJECT_SOURCE_DIR}")
  list(TRANSFORM headers PREPEND "${PROJECT_SOURCE_DIR}/${folder}/" REGEX "^[^/]+$")
  install(FILES ${headers} DESTINATION "${headers_folder}/${folder}" COMPONENT development)
endforeach()
foreach(room crypto token)
  install(FILES "${PROJECT_SOURCE_DIR}/${room}/codes.def" DESTINATION "${headers_folder}/${room}" COMPONENT development)
endforeach()
get_target_property(headers vt_schema HEADER_SET_generated)
install(FILES ${headers} DESTINATION "${headers_folder}/schema" COMPONENT development)

include(CMakePackageConfigHelpers)
set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/VemtrelCertEnroll")
write_basic_package_version_file("${CMAKE_CURRENT_BINARY_DIR}/VemtrelCertEnrollConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES VemtrelCertEnrollConfig.cmake
  "${CMAKE_CURRENT_BINARY_DIR}/VemtrelCertEnrollConfigVersion.cmake"
  DESTINATION "${package_folder}" COMPONENT development)
install(EXPORT toolkit FILE VemtrelCertEnrollTargets.cmake NAMESPACE VemtrelCertEnroll::
  DESTINATION "${package_folder}" COMPONENT development)

# From the folder of the .pc file up to the prefix, so that an installed tree can be moved.
set(pkgconfig_folder "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
string(REGEX REPLACE "[^/]+" ".." up "${pkgconfig_folder}")
configure_file(vemtrel_certenroll.pc.in vemtrel_certenroll.pc @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/vemtrel_certenroll.pc"
  DESTINATION "${pkgconfig_folder}" COMPONENT development)
