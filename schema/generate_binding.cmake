# Generates the data binding: wsdl2h, soapcpp2, and the changes to their output that the documents
# of this system need. Every change must find what it changes: a tool version that writes
# different code stops the build here instead of giving a binding that reads differently.
#
# WSDL2H, SOAPCPP2   the tools
# SCHEMA_DIR         all.xsd, the schemas that it imports, typemap.dat
# BINDING_DIR        output
# PARTS              numbers of the soapC_NNN.cpp files that the build expects
# TYPES_PER_PART     how soapcpp2 splits its output

function(run)
    execute_process(COMMAND ${ARGN} WORKING_DIRECTORY ${BINDING_DIR} RESULT_VARIABLE result
                    OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGN}\n${output}")
    endif()
endfunction()

function(count_of pattern text variable)
    string(REGEX MATCHALL "${pattern}" found "${text}")
    list(LENGTH found n)
    set(${variable} ${n} PARENT_SCOPE)
endfunction()

function(expect what have want)
    if(NOT "${have}" STREQUAL "${want}")
        message(FATAL_ERROR "generated binding: ${what}: found ${have}, expected ${want}")
    endif()
endfunction()

file(REMOVE_RECURSE ${BINDING_DIR})
file(MAKE_DIRECTORY ${BINDING_DIR})

# --- the schemas as the binding sees them
# A text that may be shared carries id and ref attributes in a document. The runtime deals with
# them, so that to the binding it is a text like any other.
string(CONCAT shared_text
    "<xs:complexType name=\"([A-Za-z0-9]+)\">[ \n]*<xs:simpleContent>[ \n]*"
    "<xs:extension base=\"xs:string\">[ \n]*<xs:attributeGroup ref=\"dd:Reference\"/>[ \n]*"
    "</xs:extension>[ \n]*</xs:simpleContent>[ \n]*</xs:complexType>")
string(CONCAT plain_text
    "<xs:simpleType name=\"\\1\"><xs:restriction base=\"xs:string\"/></xs:simpleType>")
set(coded_values 0)
file(GLOB schemas ${SCHEMA_DIR}/*.xsd)
foreach(schema ${schemas})
    get_filename_component(name ${schema} NAME)
    file(READ ${schema} text)
    string(REGEX REPLACE "${shared_text}" "${plain_text}" text "${text}")
    count_of("ref=\"dd:Reference\"" "${text}" n)
    expect("${name}: shared texts of an unknown form" ${n} 0)
    count_of("<xs:documentation>code [0-9]+</xs:documentation>" "${text}" n)
    math(EXPR coded_values "${coded_values} + ${n}")
    file(WRITE ${BINDING_DIR}/${name} "${text}")
endforeach()

run(${WSDL2H} -c -z6 -t${SCHEMA_DIR}/typemap.dat -owsdl2h.h all.xsd)

# --- the interface header between the two tools
file(READ ${BINDING_DIR}/wsdl2h.h header)

# The option line would make soapcpp2 write C instead of C++.
count_of("//gsoapopt[^\n]*\n" "${header}" n)
expect("option lines" ${n} 1)
string(REGEX REPLACE "//gsoapopt[^\n]*\n" "" header "${header}")

# A dictionary of which only some entries are known gives the code of each as a schema annotation.
set(pattern "///   code ([0-9]+)\n/// </BLOCKQUOTE></PRE>\n///\n\t([A-Za-z0-9_]+),")
count_of("${pattern}" "${header}" n)
expect("enumeration values with a code of their own" ${n} ${coded_values})
string(REGEX REPLACE "${pattern}" "///   code \\1\n/// </BLOCKQUOTE></PRE>\n///\n\t\\2 = \\1,"
       header "${header}")
file(WRITE ${BINDING_DIR}/binding.h "${header}")

run(${SOAPCPP2} -0 -z3 -C -x -L -w -f${TYPES_PER_PART} binding.h)

# --- soapStub.h
file(READ ${BINDING_DIR}/soapStub.h stub)
# A code that is not in the list travels through a member as it is; a fixed underlying type makes
# that a defined value.
count_of("\nenum [A-Za-z0-9_]+ {" "${stub}" enums)
if(enums EQUAL 0)
    message(FATAL_ERROR "generated binding: no enumerations found")
endif()
string(REGEX REPLACE "\nenum ([A-Za-z0-9_]+) {" "\nenum \\1 : int {" stub "${stub}")
file(WRITE ${BINDING_DIR}/soapStub.h "${stub}")

# --- soapC_NNN.cpp
# Number in place of a name: any integer passes, under the strict flag only one of the list; text
# that is neither, empty text included, is a type error.
string(CONCAT enum_number
    "else if \\(!\\*s\\)\n\t\treturn soap->error = SOAP_EMPTY;\n\telse\n\t{\tint n;\n"
    "\t\tif \\(soap_s2int\\(soap, s, &n\\) \\|\\| n < 0 \\|\\| n > ([0-9]+)\\)")
string(CONCAT enum_number_new
    "else\n\t{\tint n;\n"
    "\t\tif (soap_s2int(soap, s, &n)"
    " || ((soap->mode & SOAP_XML_STRICT) && (n < 0 || n > \\1)))")
# A boolean stays strict about its numbers.
string(CONCAT boolean_number
    "else if (!*s)\n\t\treturn soap->error = SOAP_EMPTY;\n"
    "\telse\n\t{\tlong n;\n\t\tif (soap_s2long(soap, s, &n) || n < 0 || n > 1)")
string(CONCAT boolean_number_new
    "else\n\t{\tlong n;\n\t\tif (soap_s2long(soap, s, &n) || n < 0 || n > 1 /* boolean */)")
# An unknown element is skipped with all that it holds, whatever its name and attributes say.
set(ignore_begin "SOAP_FMAC3 int SOAP_FMAC4 soap_ignore_element(struct soap *soap)\n{")
set(ignore_new "${ignore_begin}
	if (!soap_peek_element(soap))
	{	if (soap->mode & SOAP_XML_STRICT)
			return soap->error = SOAP_TAG_MISMATCH;
		soap->peeked = 0;
		soap->error = SOAP_OK;
		if (soap->body && soap_ignore(soap))
			return soap->error;
	}
	return soap->error;
}
")

# Names of zones are the only enumeration whose values need escaping, and have an apostrophe, which
# the runtime spoils in words.
set(zone_out "soap_send(soap, soap_dd__TimeZoneName2s(soap, *a))")
set(zone_out_new "soap_string_out(soap, soap_dd__TimeZoneName2s(soap, *a), 0)")
set(zone_in "soap_s2dd__TimeZoneName(soap, soap_value(soap), a)")
string(CONCAT zone_in_new "soap_s2dd__TimeZoneName(soap, "
    "soap->body ? soap_string_in(soap, 5, -1, -1, NULL) : \"\", a)")

set(enum_changes 0)
set(zone_changes 0)
set(boolean_changes 0)
set(ignore_changes 0)
set(empty_refusals 0)
set(expected_files)
foreach(part ${PARTS})
    set(file ${BINDING_DIR}/soapC_${part}.cpp)
    list(APPEND expected_files ${file})
    if(NOT EXISTS ${file})
        message(FATAL_ERROR "generated binding: ${file} is missing: adjust the parts")
    endif()
    file(READ ${file} code)
    string(REGEX REPLACE "${enum_number}" "${enum_number_new}" code "${code}")
    string(REPLACE "${boolean_number}" "${boolean_number_new}" code "${code}")

    string(FIND "${code}" "${ignore_begin}" begin)
    if(begin GREATER_EQUAL 0)
        string(SUBSTRING "${code}" 0 ${begin} before)
        string(SUBSTRING "${code}" ${begin} -1 rest)
        string(FIND "${rest}" "\n}\n" end)
        math(EXPR end "${end} + 3")
        string(SUBSTRING "${rest}" ${end} -1 after)
        set(code "${before}${ignore_new}${after}")
        math(EXPR ignore_changes "${ignore_changes} + 1")
    endif()

    string(FIND "${code}" "${zone_out}" begin)
    if(begin GREATER_EQUAL 0)
        string(REPLACE "${zone_out}" "${zone_out_new}" code "${code}")
        math(EXPR zone_changes "${zone_changes} + 1")
        string(REPLACE "${zone_in}" "${zone_in_new}" with_names "${code}")
        if(NOT with_names STREQUAL code)
            math(EXPR zone_changes "${zone_changes} + 1")
        endif()
        set(code "${with_names}")
    endif()

    count_of("SOAP_XML_STRICT\\) && \\(n < 0" "${code}" n)
    math(EXPR enum_changes "${enum_changes} + ${n}")
    count_of("n > 1 /\\* boolean \\*/" "${code}" n)
    math(EXPR boolean_changes "${boolean_changes} + ${n}")
    count_of("SOAP_EMPTY" "${code}" n)
    math(EXPR empty_refusals "${empty_refusals} + ${n}")
    # The time of generation would make two builds of one tree differ.
    count_of("(SOAP_SOURCE_STAMP\\([^\n]*) [0-9-]+ [0-9:]+ GMT" "${code}" n)
    expect("time stamps of ${file}" ${n} 1)
    string(REGEX REPLACE "(SOAP_SOURCE_STAMP\\([^\n]*) [0-9-]+ [0-9:]+ GMT" "\\1" code "${code}")
    file(WRITE ${file} "${code}")
endforeach()

math(EXPR plain_enums "${enums} - 1")
expect("conversions of an enumeration" ${enum_changes} ${plain_enums})
expect("functions that write or read a zone's name" ${zone_changes} 2)
expect("conversions of a boolean" ${boolean_changes} 1)
expect("functions that skip an element" ${ignore_changes} 1)
expect("refusals of empty text that were not changed" ${empty_refusals} 0)
file(GLOB files ${BINDING_DIR}/soapC*.cpp)
expect("parts: ${files}" "${files}" "${expected_files}")
