# cmake -DTARGET=FOLDER -P publish.cmake: writes what the update server publishes and what is
# installed with the program. Each file under hosts/ is one site. Its script is the library, the
# readers that its first line names, and its own lines; the companions are the same for all. The
# version is made of the contents, so that every change is fetched.
cmake_minimum_required(VERSION 3.25)
set(base "http://127.0.0.1:8438/reelkeeper/scripts/") # the bundled site puts its own address here
set(sources ${CMAKE_CURRENT_LIST_DIR})
set(library text json markup address streams video)
file(GLOB hosts RELATIVE ${sources}/hosts ${sources}/hosts/*)
file(REMOVE_RECURSE ${TARGET})
file(MAKE_DIRECTORY ${TARGET})

set(digests "")
set(size 0)
set(sites "")
foreach(host ${hosts})
    file(STRINGS ${sources}/hosts/${host} uses LIMIT_COUNT 1)
    if(NOT uses MATCHES "^// Uses: ([a-z ]+)$")
        message(FATAL_ERROR "The first line of hosts/${host} must name its readers")
    endif()
    string(REPLACE " " ";" readers "${CMAKE_MATCH_1}")
    list(TRANSFORM library PREPEND library/ OUTPUT_VARIABLE parts)
    list(TRANSFORM readers PREPEND readers/)
    list(APPEND parts ${readers})
    list(TRANSFORM parts APPEND .js)
    string(APPEND sites "        <domain name=\"${host}\">\n")
    foreach(script "Streams;;${parts};hosts/${host}" "Title;_title;library/title.js"
            "Keywords;_keyword;library/keyword.js" "Description;_description;library/description.js")
        list(POP_FRONT script description suffix)
        set(text "")
        foreach(part ${script})
            file(READ ${sources}/${part} lines)
            string(APPEND text "${lines}")
        endforeach()
        set(published ${TARGET}/${host}${suffix})
        file(WRITE ${published} "${text}")
        file(SIZE ${published} bytes)
        math(EXPR size "${size} + ${bytes}")
        file(SHA256 ${published} digest)
        string(APPEND digests "${host}${suffix} ${digest}\n")
        string(APPEND sites
            "            <file des=\"${description}\" name=\"${host}${suffix}\"/>\n")
    endforeach()
    string(APPEND sites "        </domain>\n")
endforeach()

string(SHA256 digest "${digests}")
string(SUBSTRING ${digest} 0 7 digits)
math(EXPR version "0x${digits}")
file(WRITE ${TARGET}/Profile.xml
"<?xml version=\"1.0\" encoding=\"UTF-8\"?>
<profile>
    <js version=\"${version}\" size=\"${size}\" path=\"${base}\"/>
    <sites>
${sites}    </sites>
</profile>
")
