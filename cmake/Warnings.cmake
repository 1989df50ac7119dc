# Warnings are errors in every build. -Wformat-nonliteral together with the
# format attributes of the public header makes a non-literal format an error.
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
  add_compile_options(-Wall -Wextra -Werror -Wformat=2 -Wformat-nonliteral -Wshadow -Wcast-align
                      -Wdouble-promotion
                      $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>)
  # GCC 12 reports impossible overlaps inside std::string concatenation at
  # -O2 (a known false positive of its -Wrestrict); it stays a warning there.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-Wno-error=restrict)
  endif()
elseif(MSVC)
  add_compile_options(/W4 /WX)
endif()
