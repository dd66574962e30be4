# Writes the C++ file OUTPUT with the page's parts: cmake -D OUTPUT=... -D DYGRAPHS=... -P embed.cmake
set(kStyle report.css)
set(kBody body.html)
set(kDygraphs ${DYGRAPHS})
# One script: each part uses those before it.
set(kScript data.js look.js charts.js input.js top.js)
set(code "#include \"report/Page.h\"\n\nnamespace page {\n")
foreach(name kStyle kBody kScript kDygraphs)
  # A text for each file, which the compiler joins: there is a longest one.
  string(APPEND code "\nconst char ${name}[] =")
  foreach(file ${${name}})
    cmake_path(ABSOLUTE_PATH file BASE_DIRECTORY ${CMAKE_CURRENT_LIST_DIR})
    file(READ ${file} text)
    # The map of the script's sources is not there; a browser's tools would look for it.
    string(REGEX REPLACE "\n//# sourceMappingURL=[^\n]*" "" text "${text}")
    string(APPEND code "\n    R\"embedded(${text})embedded\"")
  endforeach()
  string(APPEND code ";\n")
endforeach()
file(WRITE ${OUTPUT} "${code}\n} // namespace page\n")
