# Writes the files of a page into a source file of the web server: -DDIR, -DFILES, -DOUT, and -DNAME
# of the page and its function.
set(type_html text/html)
set(type_css text/css)
set(type_js text/javascript)
set(type_svg image/svg+xml)

set(content "#include \"device/web/panel_files.h\"\n\nnamespace varn::web {\nnamespace {\n\n")
set(answers "")
string(REPLACE "," ";" FILES "${FILES}")
foreach(file ${FILES})
    set(path "/${file}")
    if(file STREQUAL index.html)
        set(path "/")
    endif()
    string(REGEX MATCH "[a-z]+$" ending "${file}")
    string(MAKE_C_IDENTIFIER "${file}" name)
    file(READ "${DIR}/${file}" hex HEX)
    string(REGEX REPLACE "(..)" "\\\\x\\1" bytes "${hex}")
    string(REGEX REPLACE "((\\\\x..)(\\\\x..)(\\\\x..)(\\\\x..)(\\\\x..)(\\\\x..)(\\\\x..)(\\\\x..))"
           "\"\\1\"\n    " bytes "${bytes}")
    string(REGEX REPLACE "\n    ((\\\\x..)+)$" "\n    \"\\1\"" bytes "${bytes}")
    string(APPEND content "constexpr char ${name}[] =\n    ${bytes};\n\n")
    string(APPEND answers "    if (path == \"${path}\")\n        return PanelFile{"
           "\"${type_${ending}}; charset=utf-8\", {${name}, sizeof ${name} - 1}};\n")
endforeach()
string(APPEND content "} // namespace\n\nstd::optional<PanelFile> ${NAME}_file(std::string_view path) "
       "{\n${answers}    return std::nullopt;\n}\n\n} // namespace varn::web\n")
file(WRITE "${OUT}" "${content}")
