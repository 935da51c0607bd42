# Copies the page that scripts/setup --view has made, if it exists, to where the command looks for it.
#     cmake -DFROM=FOLDER -DTO=FOLDER -P CopyPage.cmake
if(EXISTS "${FROM}/page.js")
  file(COPY "${FROM}/index.html" "${FROM}/page.js" "${FROM}/page.css" DESTINATION "${TO}")
endif()
