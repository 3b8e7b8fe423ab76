# talvek_add_plugin(NAME CODE): the plug-in NAME.so, which shows the two functions of this folder's exports.cpp to its
# host and hides the library CODE behind them.
function(talvek_add_plugin name code)
  add_library(${name} MODULE exports.cpp)
  target_link_libraries(${name} PRIVATE ${code} project_warnings)
  set_target_properties(${name} PROPERTIES
    PREFIX "" CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON
    LINK_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/exports.map)
  # Hidden visibility leaves the standard library's templates visible; the map leaves two names.
  target_link_options(${name} PRIVATE
    -Wl,--version-script=${CMAKE_CURRENT_SOURCE_DIR}/exports.map -Wl,--no-undefined)
  install(TARGETS ${name} DESTINATION ${CMAKE_INSTALL_LIBDIR})
endfunction()
