# Add-in modules for test_sound, in a folder of their own beside it, and the exports that they call back.
function(melorin_test_add_in name)
  add_library(${name} SHARED ${CMAKE_CURRENT_SOURCE_DIR}/win32/mzp_test_addin.cpp)
  target_link_libraries(${name} PRIVATE platform tags melorin_flags)
  target_compile_definitions(${name} PRIVATE ${ARGN})
  # No decoration of the calling convention in the exported names.
  target_link_options(${name} PRIVATE -Wl,--kill-at)
  set_target_properties(${name} PROPERTIES PREFIX ""
    RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin/test_addins
    ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
  add_dependencies(test_sound ${name})
endfunction()

melorin_test_add_in(mzp_test)
melorin_test_add_in(mzp_fails MZP_FAILS)
melorin_test_add_in(mzp_mute MZP_NO_ENTRY_POINT)
melorin_test_add_in(mzp_unknown MZP_UNKNOWN_KIND)
melorin_test_add_in(other_name)

# Without ENABLE_EXPORTS the definition file of a program is silently left out.
set_target_properties(test_sound PROPERTIES ENABLE_EXPORTS ON)
target_sources(test_sound PRIVATE ${CMAKE_SOURCE_DIR}/app/melorin.def)
target_link_options(test_sound PRIVATE
  -Wl,-u,_CreateSoundBuffer@8 -Wl,-u,_CreateStreamOnFile@12 -Wl,-u,_CreateStdContent@16 -Wl,-u,_GetSoundCodecName@8)
