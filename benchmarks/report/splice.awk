# Replaces what is between the two marks of a page by the file named in the variable tables.
/^<!-- results -->$/ { print; while ((getline line < tables) > 0) print line; skip = 1 }
/^<!-- end of results -->$/ { skip = 0 }
!skip && !/^<!-- results -->$/
