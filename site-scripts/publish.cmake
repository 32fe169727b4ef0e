# cmake -DTARGET=FOLDER -P publish.cmake: writes what the update server publishes. Each file under
# hosts/ is one site: its lines and the shared reader are its script, the companions are the same
# for all. The version is made of the contents, so that every change is fetched.
cmake_minimum_required(VERSION 3.25)
set(base "http://127.0.0.1:8438/reelkeeper/scripts/") # the bundled site puts its own address here
file(GLOB hosts RELATIVE ${CMAKE_CURRENT_LIST_DIR}/hosts ${CMAKE_CURRENT_LIST_DIR}/hosts/*)
file(REMOVE_RECURSE ${TARGET})
file(MAKE_DIRECTORY ${TARGET})

set(digests "")
set(size 0)
set(sites "")
foreach(host ${hosts})
    string(APPEND sites "        <domain name=\"${host}\">\n")
    foreach(script "Streams;" "Title;_title" "Keywords;_keyword" "Description;_description")
        list(GET script 0 description)
        list(GET script 1 suffix)
        set(published ${TARGET}/${host}${suffix})
        file(READ ${CMAKE_CURRENT_LIST_DIR}/reader${suffix} text)
        if(suffix STREQUAL "")
            file(READ ${CMAKE_CURRENT_LIST_DIR}/hosts/${host} lines)
            string(PREPEND text "${lines}")
        endif()
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
