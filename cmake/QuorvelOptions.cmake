# Compiler settings shared by every Quorvel target.
add_library(quorvel_options INTERFACE)
target_compile_options(quorvel_options INTERFACE -Wall -Wextra -Wpedantic)
# GCC 12 reports -Wrestrict on plain std::string concatenation at -O2 and
# above (a known false positive of that release).
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(quorvel_options INTERFACE -Wno-restrict)
endif()
if(QUORVEL_WERROR)
  target_compile_options(quorvel_options INTERFACE -Werror)
endif()
if(QUORVEL_SANITIZE)
  target_compile_options(quorvel_options INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  target_link_options(quorvel_options INTERFACE -fsanitize=address,undefined)
endif()
target_include_directories(quorvel_options INTERFACE
  ${PROJECT_SOURCE_DIR}/src ${PROJECT_BINARY_DIR}/generated)

# quorvel_library(name SOURCES...) declares the static library of one subsystem.
function(quorvel_library name)
  add_library(${name} STATIC ${ARGN})
  target_link_libraries(${name} PUBLIC quorvel_options)
endfunction()
