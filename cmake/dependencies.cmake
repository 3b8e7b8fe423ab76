# All of these are Debian 12 packages; `make deps` installs them. Without GoogleTest there are no tests.
find_package(wxWidgets 3.1 REQUIRED COMPONENTS base)
find_package(PkgConfig REQUIRED)
pkg_check_modules(LMDB REQUIRED IMPORTED_TARGET lmdb)
find_package(CLI11 REQUIRED)
find_package(nlohmann_json REQUIRED)
find_package(Threads REQUIRED)
find_package(GTest QUIET)

# wxWidgets as a target. Its headers are system headers, so that our warnings don't apply to them.
add_library(wx_base INTERFACE)
target_include_directories(wx_base SYSTEM INTERFACE ${wxWidgets_INCLUDE_DIRS})
target_compile_definitions(wx_base INTERFACE ${wxWidgets_DEFINITIONS})
target_compile_options(wx_base INTERFACE ${wxWidgets_CXX_FLAGS})
target_link_directories(wx_base INTERFACE ${wxWidgets_LIBRARY_DIRS})
target_link_libraries(wx_base INTERFACE ${wxWidgets_LIBRARIES})
