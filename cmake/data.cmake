# Copies the shipped documents and schemas to where the built library looks for them.
foreach(kind xml xsd)
  file(GLOB data_files CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR} ${kind}/*.${kind})
  foreach(file ${data_files})
    add_custom_command(OUTPUT ${PROJECT_BINARY_DIR}/${data_dir}/${file}
                       COMMAND ${CMAKE_COMMAND} -E copy ${PROJECT_SOURCE_DIR}/${file}
                               ${PROJECT_BINARY_DIR}/${data_dir}/${file}
                       DEPENDS ${file} VERBATIM)
    list(APPEND built_data ${PROJECT_BINARY_DIR}/${data_dir}/${file})
  endforeach()
  install(FILES ${data_files} DESTINATION ${data_dir}/${kind})
endforeach()
add_custom_target(pgm_zorva_data ALL DEPENDS ${built_data})
add_dependencies(zorva pgm_zorva_data)
