# The pictures of the bundle, drawn from the SVG sources in QuillmoreLauncher/Resources/artwork: each in its
# own size and, as NAME@2x, in double density. Needs bundle_file() of the including file.
find_program(RSVG_CONVERT rsvg-convert REQUIRED)
find_package(Python3 REQUIRED COMPONENTS Interpreter)
set(artwork ${CMAKE_SOURCE_DIR}/QuillmoreLauncher/Resources/artwork)

# picture(NAME SOURCE ARGUMENTS...): one picture of the bundle; the ending of NAME says its kind.
function(picture name source)
    set(drawn ${payloads}/artwork/${name})
    set(png ${drawn})
    set(conversion "")
    if(name MATCHES "\\.bmp$")
        set(png ${drawn}.png)
        set(script ${CMAKE_SOURCE_DIR}/Packaging/png-to-bmp)
        set(conversion COMMAND ${Python3_EXECUTABLE} ${script} ${png} ${drawn})
    endif()
    add_custom_command(OUTPUT ${drawn}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${payloads}/artwork
        COMMAND ${RSVG_CONVERT} ${ARGN} --output ${png} ${artwork}/${source}
        ${conversion}
        DEPENDS ${artwork}/${source} ${script} VERBATIM)
    bundle_file(Resources/${name} ${drawn})
    set(bundle_files ${bundle_files} PARENT_SCOPE)
endfunction()

foreach(name appheade_bg.png resellerheader_bg.png appheader_logo.png logo-1.bmp logo-15.bmp)
    string(REGEX MATCH "^(.*)\\.([a-z]+)$" matched ${name})
    picture(${name} ${CMAKE_MATCH_1}.svg)
    picture(${CMAKE_MATCH_1}@2x.${CMAKE_MATCH_2} ${CMAKE_MATCH_1}.svg --zoom=2)
endforeach()

# The application's icon; the small sizes are drawn with stronger lines.
foreach(side 16 32 48)
    picture(Quillmore-${side}.png Quillmore-small.svg --width=${side} --height=${side})
endforeach()
foreach(side 128 256)
    picture(Quillmore-${side}.png Quillmore.svg --width=${side} --height=${side})
endforeach()
