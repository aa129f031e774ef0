// hook_phases_page FILE: prints docs/hook-phases.md with its section on log lines made anew from hookhost's own table.
#include "tools/hookhost/log_lines.h"

#include <fstream>
#include <iostream>
#include <iterator>

int main(int argc, char** argv)
{
    std::ifstream file(argc == 2 ? argv[1] : "");
    std::string const page((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    std::string const section = hookhost::logLinesAsMarkdown();
    std::size_t const begin = page.find(section.substr(0, section.find('\n') + 1));
    if (begin == std::string::npos) {
        std::cerr << "hook_phases_page: give docs/hook-phases.md, which has the section \"Every log line\"\n";
        return 2;
    }
    std::size_t const end = page.find("\n## ", begin);
    std::cout << page.substr(0, begin) << section << (end == std::string::npos ? "" : page.substr(end));
    return 0;
}
