# Options that every target of the project is compiled with.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# Programs run from the build tree, and installed ones find the libraries beside them.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
file(RELATIVE_PATH kel_libraries_from_programs
  "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
set(CMAKE_INSTALL_RPATH "$ORIGIN;$ORIGIN/${kel_libraries_from_programs}")

if(MSVC)
  add_compile_options(/W4 /utf-8 /fp:precise)
  if(KELRA_WARNINGS_AS_ERRORS)
    add_compile_options(/WX)
  endif()
else()
  # A contracted multiply-add would round once where the formulas round twice.
  add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -ffp-contract=off)
  # A call makes some twenty calls of the sibling libraries; they need no stubs in between.
  add_compile_options(-fno-plt)
  if(KELRA_WARNINGS_AS_ERRORS)
    add_compile_options(-Werror)
  endif()
  add_link_options(-Wl,--no-undefined)
  if(KELRA_SANITIZE)
    add_compile_options(-fsanitize=${KELRA_SANITIZE} -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${KELRA_SANITIZE})
    if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
      # Clang leaves the sanitizer runtime to the program.
      add_link_options(-Wl,-z,undefs)
    endif()
    if(KELRA_SANITIZE MATCHES "undefined")
      add_compile_options(-fno-sanitize-recover=undefined)
    endif()
  endif()
endif()
