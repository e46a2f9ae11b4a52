# Puts the device tree together from SOURCE in TARGET, which is made anew. SETTINGS holds the
# schema hosts.
cmake_minimum_required(VERSION 3.25)
include(${SETTINGS})

# Every input source offers the same profile, and the scan path reads only profiles that stand
# inside their source: it is written once and goes into the template three times.
file(READ ${SOURCE}/setting-profile.xml.in VARN_SETTING_PROFILE)

file(REMOVE_RECURSE ${TARGET})
foreach(top datafs etc proc run sys tmp usr web)
    file(GLOB_RECURSE entries LIST_DIRECTORIES true RELATIVE ${SOURCE} ${SOURCE}/${top}/*)
    foreach(entry IN LISTS entries)
        if(IS_DIRECTORY ${SOURCE}/${entry})
            file(MAKE_DIRECTORY ${TARGET}/${entry})
        elseif(entry MATCHES "\\.in$")
            string(REGEX REPLACE "\\.in$" "" plain ${entry})
            configure_file(${SOURCE}/${entry} ${TARGET}/${plain} @ONLY NEWLINE_STYLE UNIX)
        elseif(NOT entry MATCHES "\\.gitkeep$")
            configure_file(${SOURCE}/${entry} ${TARGET}/${entry} COPYONLY)
        endif()
    endforeach()
    file(MAKE_DIRECTORY ${TARGET}/${top})
endforeach()

# The tickets start as copies of the web server's own files.
file(COPY ${TARGET}/web/eSCL/ScannerCapabilities ${TARGET}/web/eSCL/ScannerStatus.xml
     DESTINATION ${TARGET}/tmp/xml_tickets/eSCL)
