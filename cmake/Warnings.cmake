# Our own code compiles without a warning; headers of others are system headers and stay silent.
add_library(vistrel_warnings INTERFACE)
target_compile_options(
  vistrel_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
                             -Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual -Werror)
