# The host that the README shows is the example that is built.
#
#   cmake -DSOURCE=... -P readme_host.cmake

file(READ ${SOURCE}/README.md readme)
file(READ ${SOURCE}/examples/edges_of_a_picture.cpp example)
string(FIND "${readme}" "```cpp\n${example}```" position)
if(position EQUAL -1)
  message(FATAL_ERROR "the host in README.md isn't examples/edges_of_a_picture.cpp")
endif()
