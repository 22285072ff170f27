# One INTERFACE target carries the language standard, the warnings and the hardening flags.
add_library(news_options INTERFACE)
target_compile_features(news_options INTERFACE cxx_std_20)
set(CMAKE_CXX_EXTENSIONS OFF)

target_compile_options(news_options INTERFACE
  -Wall -Wextra -Wpedantic -Wnon-virtual-dtor -Wold-style-cast -Wshadow -Wcast-align
  -Woverloaded-virtual -Wnull-dereference -Wimplicit-fallthrough -Wformat=2
  # Records and messages are aggregates with default member initialisers: a short brace
  # list leaves the rest at those defaults on purpose.
  -Wno-missing-field-initializers)
target_compile_definitions(news_options INTERFACE $<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2> _GLIBCXX_ASSERTIONS)
target_compile_options(news_options INTERFACE -fstack-protector-strong)

if(NEWS_WARNINGS_AS_ERRORS)
  target_compile_options(news_options INTERFACE -Werror)
endif()

if(NEWS_SANITIZE)
  target_compile_options(news_options INTERFACE -fsanitize=address,undefined -fno-omit-frame-pointer
                                                -fno-sanitize-recover=undefined)
  target_link_options(news_options INTERFACE -fsanitize=address,undefined)
endif()

if(NEWS_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "NEWS_FUZZ needs clang (libFuzzer); use the fuzz preset")
  endif()
  # Coverage feedback for libFuzzer in every library; the fuzz targets link the fuzzer itself.
  target_compile_options(news_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

find_package(GTest REQUIRED)
include(GoogleTest)
