# Warnings are errors in every build. -Wformat-nonliteral together with the
# format attributes of the public header makes a non-literal format an error.
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
  add_compile_options(-Wall -Wextra -Werror -Wformat=2 -Wformat-nonliteral -Wshadow -Wcast-align
                      -Wdouble-promotion
                      $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>)
elseif(MSVC)
  add_compile_options(/W4 /WX)
endif()
