# Replaces what is between two marks of a page by the file named in the variable tables. The marks are <!-- name --> and
# <!-- end of name -->; the variable name is "results" if it is not set.
BEGIN { if (name == "") name = "results"; begin = "<!-- " name " -->"; end = "<!-- end of " name " -->" }
$0 == begin { print; while ((getline line < tables) > 0) print line; skip = 1 }
$0 == end { skip = 0 }
!skip && $0 != begin
