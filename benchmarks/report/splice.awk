# Puts the lines of the file named by the variable tables between the two marks of a page; the rest of the page stays.
/^<!-- results -->$/ { print; while ((getline line < tables) > 0) print line; skip = 1 }
/^<!-- end of results -->$/ { skip = 0 }
!skip && !/^<!-- results -->$/
