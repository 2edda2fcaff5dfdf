# The ASIO driver without a sound card that test_playback registers.
add_library(fake_asio_driver SHARED ${CMAKE_CURRENT_SOURCE_DIR}/win32/fake_asio_driver.cpp)
target_link_libraries(fake_asio_driver PRIVATE platform melorin_flags)
# No decoration of the calling convention in the exported names.
target_link_options(fake_asio_driver PRIVATE -Wl,--kill-at)
set_target_properties(fake_asio_driver PROPERTIES PREFIX ""
  RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin/test_drivers
  ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
add_dependencies(test_playback fake_asio_driver)
