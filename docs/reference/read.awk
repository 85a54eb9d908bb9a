# Translates a header or a page of this project for Doxygen.
#
# A header. Its opening comment, "// name: text", becomes the description of the class of that name. In a comment with
# three slashes
#     name   text        two blanks or more after a name: what an argument is
#     Returns ...        what comes back, unless it is the first line
#     Failure: ...       a heading of its own; also Cost, Ties, NaN, Bits, Threads, Source
#     "  ..."            two blanks or more outside of arguments and list items: verbatim, for tables
#     a . b              a product; its dot does not end the sentence
# A comment applies to all declarations up to the next empty line or comment.
# A page. A link to what is neither a page nor a picture becomes its text.

FNR == 1 { isPage = FILENAME ~ /\.md$/; isOpening = !isPage }

isPage && /^ *```/ { isFenced = !isFenced }
isPage {
  line = $0
  if (!isFenced) {
    out = ""
    while (match(line, /\]\([^)]*\)/)) {
      target = substr(line, RSTART + 2, RLENGTH - 3)
      head = substr(line, 1, RSTART)
      line = substr(line, RSTART + RLENGTH)
      isKept = target ~ /^(https?:|#)/ || target ~ /\.(md|png|svg)(#.*)?$/
      if (!isKept) {
        open = 0
        for (i = length(head); i > 0 && !open; --i) if (substr(head, i, 1) == "[") open = i
        head = substr(head, 1, open - 1) substr(head, open + 1, length(head) - open - 1)
        out = out head
      } else {
        out = out head "(" target ")"
      }
    }
    line = out line
  }
  print line
  next
}

# The text of a comment without its slashes.
function textOf(line) {
  sub(/^ *\/\/\/? ?/, "", line)
  gsub(/ \. /, " · ", line)
  return line
}

function startDoc() {
  doc = ""
  nbLines = 0
  isArgument = isItem = isVerbatim = isGiven = 0
}

function endVerbatim() {
  if (isVerbatim) doc = doc "@endverbatim\n"
  isVerbatim = 0
}

function giveDoc() {
  printf "/**\n%s*/\n", doc
}

function addLine(text,   name, rest) {
  ++nbLines
  if (text ~ /^ *$/) {
    endVerbatim()
    isArgument = isItem = 0
    doc = doc "\n"
    return
  }
  if (text ~ /^[A-Za-z][A-Za-z0-9]*(, [A-Za-z][A-Za-z0-9]*)*  +[^ ]/) {
    endVerbatim()
    match(text, /  +/)
    name = substr(text, 1, RSTART - 1)
    rest = substr(text, RSTART + RLENGTH)
    gsub(/, /, ",", name)
    isArgument = 1
    if (name == "Returns") doc = doc "@return " rest "\n"
    else doc = doc "@param " name " " rest "\n"
  } else if (!isArgument && !isItem && text ~ /^  /) {
    if (!isVerbatim) doc = doc "@verbatim\n"
    isVerbatim = 1
    doc = doc text "\n"
  } else if (text ~ /^Returns / && nbLines > 1) {
    endVerbatim()
    isArgument = 0
    doc = doc "@return " substr(text, 9) "\n"
  } else if (match(text, /^(Failure|Cost|Ties|NaN|Bits|Threads|Source): /)) {
    endVerbatim()
    isArgument = 0
    if (text ~ /^Source/) text = text " See @ref md_docs_references \"references\"."
    doc = doc "@par " substr(text, 1, RLENGTH - 2) "\n" substr(text, RLENGTH + 1) "\n"
  } else {
    endVerbatim()
    if (text ~ /^- /) isItem = 1
    if (isArgument && text !~ /^ /) {
      isArgument = 0
      doc = doc "\n"
    }
    doc = doc text "\n"
  }
}

function braces(line,   depth, i, c) {
  sub(/\/\/.*/, "", line)
  depth = 0
  for (i = 1; i <= length(line); ++i) {
    c = substr(line, i, 1)
    if (c == "{" || c == "(") ++depth
    if (c == "}" || c == ")") --depth
  }
  return depth
}

# The opening comment.
isOpening && /^#pragma once/ { print; next }
isOpening && /^\/\// {
  text = textOf($0)
  if (!hasOpened) {
    startDoc()
    hasOpened = 1
    if (match(text, /^[A-Za-z][A-Za-z0-9:]*: /)) {
      name = substr(text, 1, RLENGTH - 2)
      text = substr(text, RLENGTH + 1)
      sub(/^./, toupper(substr(text, 1, 1)), text)
      doc = "@class " name "\n"
    } else {
      doc = "@file\n"
    }
  }
  addLine(text)
  next
}
isOpening {
  isOpening = 0
  endVerbatim()
  giveDoc()
  if (doc !~ /@file/) print "/** @file\nThe class " name ". */"
  startDoc()
  isDocOpen = 0
}

# A comment with three slashes, on lines of its own.
/^ *\/\/\/([^<]|$)/ {
  if (!isDocOpen) startDoc()
  isDocOpen = 1
  addLine(textOf($0))
  next
}

/^ *$/ || /^ *\/\// { isDocOpen = 0; doc = ""; print; next }

{
  if (isDocOpen) {  # the declaration right after it
    endVerbatim()
    isDocOpen = 0
    docDepth = depth
  }
  if (doc != "" && depth == docDepth && (isComplete || !isGiven)) {
    if ($0 !~ /\/\/\/</ && $0 !~ /^ *(public|protected|private):/ && $0 !~ /static_assert/) giveDoc()
    isGiven = 1
  }
  depth += braces($0)
  code = $0
  sub(/ *\/\/.*/, "", code)
  isComplete = code ~ /[;}]$/ && depth <= docDepth
  print
}
