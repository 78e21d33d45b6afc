# VemtrelCertEnroll::toolkit is the shared library, VemtrelCertEnroll::toolkit_static the archive. Both are components
# of those names (toolkit, toolkit_static), for projects that say what they need.
include(CMakeFindDependencyMacro)
find_dependency(Threads)
include("${CMAKE_CURRENT_LIST_DIR}/VemtrelCertEnrollTargets.cmake")
foreach(component IN LISTS VemtrelCertEnroll_FIND_COMPONENTS)
  if(TARGET VemtrelCertEnroll::${component})
    set(VemtrelCertEnroll_${component}_FOUND TRUE)
  elseif(VemtrelCertEnroll_FIND_REQUIRED_${component})
    set(VemtrelCertEnroll_FOUND FALSE)
    set(VemtrelCertEnroll_NOT_FOUND_MESSAGE "There is no component ${component}: toolkit and toolkit_static are there.")
  endif()
endforeach()
