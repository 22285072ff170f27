# Fails when a file of the module or of host/ includes anything but the standard library and
# the project's own module and host headers (no toolkit, platform or database header, and no
# adapter, back end or application header).
set(std_headers
  algorithm any array atomic bit bitset cassert cctype cerrno cfloat charconv chrono cinttypes climits clocale
  cmath compare concepts condition_variable cstdarg cstddef cstdint cstdio cstdlib cstring ctime cwchar cwctype
  deque exception filesystem format forward_list fstream functional initializer_list iomanip ios iosfwd iostream
  istream iterator limits list locale map memory mutex new numeric optional ostream queue random ranges ratio
  regex set shared_mutex span sstream stack stdexcept streambuf string string_view system_error thread tuple
  type_traits typeindex typeinfo unordered_map unordered_set utility variant vector version)
set(bad "")
foreach(folder host news_view headline_list story output search)
  file(GLOB_RECURSE files "${SOURCE_DIR}/${folder}/*.h" "${SOURCE_DIR}/${folder}/*.cpp")
  foreach(file IN LISTS files)
    file(STRINGS "${file}" lines REGEX "^[ \t]*#[ \t]*include")
    foreach(line IN LISTS lines)
      if(line MATCHES "<([^>]+)>")
        set(header "${CMAKE_MATCH_1}")
        list(FIND std_headers "${header}" found)
        # host/text may use the C library's time functions in its sources (never in headers).
        if(found EQUAL -1 AND NOT (file MATCHES "host/text/.*\\.cpp$" AND header STREQUAL "time.h"))
          string(APPEND bad "${file}: ${line}\n")
        endif()
      elseif(line MATCHES "\"([^\"]+)\"")
        set(header "${CMAKE_MATCH_1}")
        if(header MATCHES "^(adapters|embedded_backend|apps|tests|bench)/")
          string(APPEND bad "${file}: ${line}\n")
        endif()
        if(folder STREQUAL "host" AND header MATCHES "^(news_view|headline_list|story|output|search)/")
          string(APPEND bad "${file}: ${line} (host must not depend on the module)\n")
        endif()
      endif()
    endforeach()
  endforeach()
endforeach()
if(bad)
  message(FATAL_ERROR "Forbidden includes:\n${bad}")
endif()
message(STATUS "includes: module and host use only the standard library and their own headers")
