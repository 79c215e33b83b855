# Lays the manual pages out in the build folder as they are installed. A page of section 3 gets the
# suffix "orvane", because other packages have pages such as base64_encode(3), and a symbolic link for
# each further name of its NAME section.

# Sets the variable to the names in a page's section NAME.
function(names_of_page variable page)
    file(STRINGS "${page}" lines REGEX "^\\.(Sh|Nm) ")
    set(names)
    set(section)
    foreach(line IN LISTS lines)
        if(line MATCHES "^\\.Sh (.*)$")
            set(section "${CMAKE_MATCH_1}")
        elseif(section STREQUAL NAME AND line MATCHES "^\\.Nm ([^ ]+)")
            list(APPEND names "${CMAKE_MATCH_1}")
        endif()
    endforeach()
    set(${variable} "${names}" PARENT_SCOPE)
endfunction()

set(manual ${PROJECT_BINARY_DIR}/man)
file(REMOVE_RECURSE ${manual})
file(GLOB manual_pages ${PROJECT_SOURCE_DIR}/man/*.[1-8])
# A new page changes the folder.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/man)
foreach(page IN LISTS manual_pages)
    get_filename_component(file ${page} NAME)
    get_filename_component(name ${page} NAME_WLE)
    get_filename_component(section ${page} LAST_EXT)
    string(SUBSTRING ${section} 1 1 section)
    set(suffix)
    if(section EQUAL 3)
        set(suffix orvane)
    endif()
    configure_file(${page} ${manual}/man${section}/${file}${suffix} COPYONLY)
    names_of_page(names ${page})
    list(REMOVE_ITEM names ${name})
    foreach(other IN LISTS names)
        file(CREATE_LINK ${file}${suffix} ${manual}/man${section}/${other}.${section}${suffix}
            SYMBOLIC)
    endforeach()
endforeach()
install(DIRECTORY ${manual}/ DESTINATION ${CMAKE_INSTALL_MANDIR})
