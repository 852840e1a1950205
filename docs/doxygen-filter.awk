# What doxygen reads in place of a file: the same text in its own forms.

{
    lines[NR] = $0
}

END {
    for (i = 1; i <= NR; ++i) {
        if (FILENAME ~ /\.md$/)
            lines[i] = withoutLinks(linked(lines[i]))
        else if (startsSection(i))
            i = printSection(i)
        else if (lines[i] ~ /^(public|protected|private):|^};/)
            closeSection()
        print documented(i)
    }
}

# Links that forges follow to a file lead to the page of the example, or nowhere.
function linked(line,    start, target) {
    while (match(line, /\]\(examples\/[a-z_]+\.cpp\)/)) {
        start = RSTART
        target = substr(line, start + 11, RLENGTH - 12)
        line = substr(line, 1, start) "(@ref " target ")" substr(line, start + RLENGTH)
    }
    sub(/\[LICENSE\]\(LICENSE\)/, "LICENSE", line)
    return line
}

# A comment in a class that stands alone is the heading of the members after it.
function startsSection(i) {
    if (lines[i] !~ /^    \/\/ [A-Z]/ || lines[i - 1] != "")
        return 0
    while (lines[i] ~ /^    \/\/( |$)/)
        ++i
    return lines[i] == ""
}

function printSection(i,    heading, rest, dot) {
    closeSection()
    heading = substr(lines[i], 8)
    dot = index(heading, ". ")
    rest = dot ? substr(heading, dot + 2) : ""
    print "    /// @name " (dot ? substr(heading, 1, dot - 1) : heading)
    if (rest)
        print "    /// " rest
    while (lines[++i] ~ /^    \/\/( |$)/)
        print withoutLinks("    ///" substr(lines[i], 7))
    print "    /// @{"
    isOpen = 1
    return i
}

function closeSection() {
    if (isOpen)
        print "    /// @}"
    isOpen = 0
}

function documented(i,    line) {
    line = lines[i]
    # The OpenGL token behind an enumerator documents it.
    if (line ~ /[^\/]\/\/ GL_[A-Z0-9_]+/)
        sub(/\/\/ GL_/, "///< GL_", line)
    # Members that the language gives their meaning have no comment of their own, unless they differ from it.
    if (lines[i - 1] !~ /^ *\/\/\//) {
        if (line ~ / operator=\([A-Za-z]+&&.*noexcept( = default)?;$/)
            line = line " ///< What this held is destroyed; otherwise as the move constructor."
        if (line ~ /operator==\(.*\) = default;$/)
            line = line " ///< Member by member."
    }
    return withoutLinks(line)
}

# Two words that it would take for a namespace and an address; the second is cut by a space of no width.
function withoutLinks(line) {
    if (line ~ /^ *\/\/\//)
        sub(/ GL:( |$)/, " OpenGL: ", line)
    gsub(/file:line/, "file\342\200\213:line", line)
    return line
}
