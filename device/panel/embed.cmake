# Writes the files of the page into a source file of the web server: -DDIR, -DOUT.
set(content "#include \"device/web/panel_files.h\"\n\nnamespace varn::web {\nnamespace {\n\n")
set(answers "")
foreach(entry "/|index.html|text/html" "/panel.css|panel.css|text/css"
              "/panel.js|panel.js|text/javascript")
    string(REPLACE "|" ";" entry "${entry}")
    list(GET entry 0 path)
    list(GET entry 1 file)
    list(GET entry 2 type)
    string(MAKE_C_IDENTIFIER "${file}" name)
    file(READ "${DIR}/${file}" hex HEX)
    string(REGEX REPLACE "(..)" "\\\\x\\1" bytes "${hex}")
    string(REGEX REPLACE "((\\\\x..)(\\\\x..)(\\\\x..)(\\\\x..)(\\\\x..)(\\\\x..)(\\\\x..)(\\\\x..))"
           "\"\\1\"\n    " bytes "${bytes}")
    string(REGEX REPLACE "\n    ((\\\\x..)+)$" "\n    \"\\1\"" bytes "${bytes}")
    string(APPEND content "constexpr char ${name}[] =\n    ${bytes};\n\n")
    string(APPEND answers "    if (path == \"${path}\")\n        return PanelFile{"
           "\"${type}; charset=utf-8\", {${name}, sizeof ${name} - 1}};\n")
endforeach()
string(APPEND content "} // namespace\n\nstd::optional<PanelFile> panel_file(std::string_view path) "
       "{\n${answers}    return std::nullopt;\n}\n\n} // namespace varn::web\n")
file(WRITE "${OUT}" "${content}")
