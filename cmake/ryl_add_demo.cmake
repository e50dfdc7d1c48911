# ryl_add_demo(NAME SOURCES file... DATA folder [SCORE file | TUNE file] [FACE file])
#
# The program NAME with the framework, the toolkit and the model library, and its run directory, NAME/ in the binary
# directory, where it is to be started:
#
#   NAME                  the program
#   libs/libfmodex.so     the sound library
#   data                  a link to the folder DATA, so that the program sees at once what is saved there
#   tools/crounded.ttf    the face of all text: FACE, a TrueType file, or the framework's own
#   models/cube.obj       the framework's model, to begin with
#   tune.mp3              made from SCORE by the score compiler, or a copy of TUNE; without both there is none
#   capture/              for captured frames
#
# A relative file is one of the current source directory. The source tree and the installed package have this function.
# Both set the global property RYL_FACE, and the targets ryl::core, ryl::glm, ryl::fmodex, ryl::compile_tune
# and ryl::make_cube.
function(ryl_add_demo name)
    cmake_parse_arguments(PARSE_ARGV 1 ARG "" "DATA;SCORE;TUNE;FACE" "SOURCES")
    if(ARG_UNPARSED_ARGUMENTS OR NOT ARG_SOURCES OR NOT ARG_DATA OR (ARG_SCORE AND ARG_TUNE))
        message(FATAL_ERROR "ryl_add_demo(NAME SOURCES file... DATA folder [SCORE file | TUNE file] [FACE file])")
    endif()
    if(NOT ARG_FACE)
        get_property(ARG_FACE GLOBAL PROPERTY RYL_FACE)
    endif()
    foreach(argument DATA SCORE TUNE FACE)
        if(ARG_${argument})
            cmake_path(ABSOLUTE_PATH ARG_${argument} BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR})
            if(NOT EXISTS ${ARG_${argument}})
                message(FATAL_ERROR "ryl_add_demo(${name}): there is no ${ARG_${argument}}")
            endif()
        endif()
    endforeach()

    set(run ${CMAKE_CURRENT_BINARY_DIR}/${name})
    file(MAKE_DIRECTORY ${run}/libs ${run}/tools ${run}/capture)
    file(CREATE_LINK ${ARG_DATA} ${run}/data SYMBOLIC)

    set(face ${run}/tools/crounded.ttf)
    add_custom_command(OUTPUT ${face} COMMAND ${CMAKE_COMMAND} -E copy ${ARG_FACE} ${face} DEPENDS ${ARG_FACE} VERBATIM)
    set(model ${run}/models/cube.obj ${run}/models/cube.mtl)
    add_custom_command(OUTPUT ${model} COMMAND ${CMAKE_COMMAND} -E make_directory ${run}/models
                       COMMAND ryl::make_cube ${model} DEPENDS ryl::make_cube VERBATIM)
    set(made ${face} ${model})
    if(ARG_SCORE)
        add_custom_command(OUTPUT ${run}/tune.mp3 COMMAND ryl::compile_tune ${ARG_SCORE} ${run}/tune.mp3
                           DEPENDS ryl::compile_tune ${ARG_SCORE} COMMENT "Playing tune.mp3" VERBATIM)
    elseif(ARG_TUNE)
        add_custom_command(OUTPUT ${run}/tune.mp3 COMMAND ${CMAKE_COMMAND} -E copy ${ARG_TUNE} ${run}/tune.mp3
                           DEPENDS ${ARG_TUNE} VERBATIM)
    endif()
    if(ARG_SCORE OR ARG_TUNE)
        list(APPEND made ${run}/tune.mp3)
    endif()
    add_custom_target(${name}_run DEPENDS ${made})

    add_executable(${name} ${ARG_SOURCES})
    add_dependencies(${name} ${name}_run)
    target_link_libraries(${name} PRIVATE ryl::core ryl::glm)
    target_compile_features(${name} PRIVATE cxx_std_20)
    # Noise and pictures are the same from every compiler; without a build type they are also fast.
    target_compile_options(${name} PRIVATE -ffp-contract=off $<$<CONFIG:>:-O2>)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${run} SKIP_BUILD_RPATH ON)
    add_custom_command(TARGET ${name} POST_BUILD VERBATIM COMMAND ${CMAKE_COMMAND} -E copy_if_different
                       $<TARGET_FILE:ryl::fmodex> ${run}/libs/libfmodex.so)
endfunction()
