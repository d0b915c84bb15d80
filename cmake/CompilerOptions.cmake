# What every target of the project is compiled with, as one interface target.
add_library(lumivert_options INTERFACE)
target_include_directories(lumivert_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
target_compile_options(lumivert_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-qual)
# GCC 12 warns of its own std::string operators at -O3 (GCC bug 105651).
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(lumivert_options INTERFACE -Wno-restrict)
endif()
if(LUMIVERT_WERROR)
  target_compile_options(lumivert_options INTERFACE -Werror)
  # What GCC concludes from inlined library code at -O3 changes with its versions, and is often
  # wrong: GCC 14 sees moved std::strings overrun. It stays a warning.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 13)
    target_compile_options(lumivert_options INTERFACE
      -Wno-error=array-bounds -Wno-error=stringop-overflow -Wno-error=stringop-overread)
  endif()
endif()
if(LUMIVERT_SANITIZE)
  target_compile_options(lumivert_options INTERFACE
    -fsanitize=${LUMIVERT_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_compile_definitions(lumivert_options INTERFACE _GLIBCXX_ASSERTIONS LUMIVERT_SANITIZED)
  # The checks between the lines hide from GCC what is initialised, in its own <regex> for one.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(lumivert_options INTERFACE -Wno-maybe-uninitialized)
  endif()
  target_link_options(lumivert_options INTERFACE -fsanitize=${LUMIVERT_SANITIZE})
endif()
if(LUMIVERT_SANITIZE STREQUAL "thread")
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(glib REQUIRED IMPORTED_TARGET glib-2.0)
  add_library(lumivert_glib_locks SHARED ${CMAKE_CURRENT_LIST_DIR}/GLibLocks.cpp)
  target_link_libraries(lumivert_glib_locks PRIVATE PkgConfig::glib)
  # Ahead of every other library, GLib's own among them.
  target_link_options(lumivert_options INTERFACE
    "LINKER:--push-state,--no-as-needed,$<TARGET_FILE:lumivert_glib_locks>,--pop-state")
  target_link_libraries(lumivert_options INTERFACE lumivert_glib_locks)
endif()

# What makes an error of memory harder to use. Not in debug builds: FORTIFY needs optimisation.
set(LUMIVERT_HARDENED $<CONFIG:Release>)
set(LUMIVERT_HARDENING -fPIE -fstack-protector-strong -fstack-clash-protection -U_FORTIFY_SOURCE
  -D_FORTIFY_SOURCE=3)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|i.86")
  list(APPEND LUMIVERT_HARDENING -fcf-protection=full)
elseif(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
  list(APPEND LUMIVERT_HARDENING -mbranch-protection=standard)
endif()
target_compile_options(lumivert_options INTERFACE
  "$<${LUMIVERT_HARDENED}:${LUMIVERT_HARDENING}>")
target_link_options(lumivert_options INTERFACE
  "$<${LUMIVERT_HARDENED}:-pie;LINKER:-z,relro,-z,now,-z,noexecstack>")

# lumivert_library(NAME sources...): one static library a folder; its link line is its place in the
# layers.
function(lumivert_library name)
  add_library(${name} STATIC ${ARGN})
  target_link_libraries(${name} PUBLIC lumivert_options)
endfunction()
