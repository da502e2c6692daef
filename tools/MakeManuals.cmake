# SPDX-License-Identifier: Apache-2.0
# Writes the manual pages and what shells complete: cmake -DPROGRAM=... -DFOLDER=... -DREGIONS=... [-DLOWDOWN=...] -P ...
# The program knows its commands, so nothing here has to be told when one joins.
cmake_policy(VERSION 3.24)
file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${FOLDER}/man1 ${FOLDER}/man5 ${FOLDER}/completion)

function(write_output in_file)
  execute_process(COMMAND ${PROGRAM} ${ARGN} OUTPUT_FILE ${in_file} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# The page of a command, and those of the commands that it names.
function(write_pages)
  list(JOIN ARGN "-" name)
  set(file ${FOLDER}/man1/corvana-${name}.1)
  if(name STREQUAL "")
    set(file ${FOLDER}/man1/corvana.1)
  endif()
  write_output(${file} help --man ${ARGN})
  file(STRINGS ${file} references REGEX "^\\.B [a-z-]+$")
  foreach(reference IN LISTS references)
    string(REGEX REPLACE "^\\.B " "" command "${reference}")
    write_pages(${ARGN} ${command})
  endforeach()
endfunction()

write_pages()
write_output(${FOLDER}/completion/corvana completion bash)
write_output(${FOLDER}/completion/_corvana completion zsh)
write_output(${FOLDER}/completion/corvana.fish completion fish)

# How regions lie in files: the document of that, as a manual page.
if(LOWDOWN)
  execute_process(COMMAND ${LOWDOWN} -s --out-no-smarty -tman -M section=5 -M title=corvana-regions ${REGIONS}
    OUTPUT_VARIABLE page COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX REPLACE " <\\\\fI[^>]*>" "" page "${page}") # links to other documents
  string(REGEX REPLACE "\n\\.SH\n[^\n]*\n"
    "\n.SH NAME\ncorvana\\\\-regions \\\\- labelled regions in WAV files\n.SH DESCRIPTION\n" page "${page}")
  string(REPLACE "\n.SS\n" "\n.SH\n" page "${page}")
  string(REGEX REPLACE "(\n\\.SH[^\n]*(\n[^\n.][^\n]*)?\n)\\.LP\n" "\\1" page "${page}") # a section starts a paragraph
  string(REPLACE "\\fC" "\\fB" page "${page}") # not every terminal has that font
  file(WRITE ${FOLDER}/man5/corvana-regions.5 "${page}")
endif()
