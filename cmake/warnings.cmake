# Our warnings. Every target of ours links project_warnings PRIVATE, so that nothing that uses our libraries gets them.
add_library(project_warnings INTERFACE)
target_compile_options(project_warnings INTERFACE
  -Wall -Wextra -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual -Werror)

set(TALVEK_SANITIZERS "" CACHE STRING "Sanitizers to build with, such as address,undefined")
if(TALVEK_SANITIZERS)
  add_compile_options(-fsanitize=${TALVEK_SANITIZERS} -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${TALVEK_SANITIZERS})
  # With sanitizers GCC 12 takes std::regex's own state for uninitialised (GCC bug 105562).
  target_compile_options(project_warnings INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()
