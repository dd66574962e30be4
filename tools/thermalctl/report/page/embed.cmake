# Writes the C++ file OUTPUT with the page's parts: cmake -D OUTPUT=... -D DYGRAPHS=... -P embed.cmake
set(parts kStyle report.css kBody body.html kScript report.js kDygraphs ${DYGRAPHS})
set(code "#include \"report/Page.h\"\n\nnamespace page {\n")
while(parts)
  list(POP_FRONT parts name file)
  cmake_path(ABSOLUTE_PATH file BASE_DIRECTORY ${CMAKE_CURRENT_LIST_DIR})
  file(READ ${file} text)
  # The map of the script's sources is not there; a browser's tools would look for it.
  string(REGEX REPLACE "\n//# sourceMappingURL=[^\n]*" "" text "${text}")
  string(APPEND code "\nconst char ${name}[] = R\"embedded(${text})embedded\";\n")
endwhile()
file(WRITE ${OUTPUT} "${code}\n} // namespace page\n")
