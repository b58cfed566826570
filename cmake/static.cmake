# Whether static position-independent programs can be linked here. The libraries of the sanitizers cannot, and some
# systems lack the static C library.
include(CheckCXXSourceCompiles)

if(NOT PNGSLAB_SANITIZE)
  set(CMAKE_REQUIRED_FLAGS -fPIE)
  set(CMAKE_REQUIRED_LINK_OPTIONS -static-pie)
  check_cxx_source_compiles("#include <string>
  int main(int, char** words) { return std::string(words[0]).empty(); }" PNGSLAB_STATIC_WORKS)
  unset(CMAKE_REQUIRED_FLAGS)
  unset(CMAKE_REQUIRED_LINK_OPTIONS)
endif()
