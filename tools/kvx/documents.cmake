# What kvx tells of itself, made by kvx: manual pages, and completions where shells look for them.
if(CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
  message(STATUS "No manual pages and completions: kvx cannot run here, and CMAKE_CROSSCOMPILING_EMULATOR names nothing that runs it")
  return()
endif()

set(documents ${CMAKE_CURRENT_BINARY_DIR}/documents)
add_custom_command(OUTPUT ${documents}/made
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${documents}
  COMMAND kvx manual -o ${documents}/man1
  COMMAND kvx completion bash > ${documents}/kvx.bash
  COMMAND kvx completion zsh > ${documents}/kvx.zsh
  COMMAND kvx completion fish > ${documents}/kvx.fish
  COMMAND ${CMAKE_COMMAND} -E touch ${documents}/made
  DEPENDS kvx COMMENT "Manual pages and completions" VERBATIM)
add_custom_target(kvx_documents ALL DEPENDS ${documents}/made)

set(zsh zsh/site-functions)
if(RTK_UTILS_PACKAGES)   # Debian's rules
  set(zsh zsh/vendor-completions)
  add_custom_command(OUTPUT ${documents}/made APPEND COMMAND sh -c "gzip -9n ${documents}/man1/*.1")
endif()
install(DIRECTORY ${documents}/man1 DESTINATION ${CMAKE_INSTALL_MANDIR} COMPONENT tool)
foreach(place "bash;bash-completion/completions;kvx" "zsh;${zsh};_kvx" "fish;fish/vendor_completions.d;kvx.fish")
  list(POP_FRONT place shell folder name)
  install(FILES ${documents}/kvx.${shell} DESTINATION ${CMAKE_INSTALL_DATADIR}/${folder} RENAME ${name} COMPONENT tool)
endforeach()
