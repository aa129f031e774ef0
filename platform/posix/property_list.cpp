#include "platform/descriptor.h"
#include "platform/platform.h"

#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <plist/plist.h>
#include <unistd.h>

namespace platform {

namespace {

struct PlistDeleter
{
    void operator()(void* node) const { plist_free(node); }
};

struct XmlDeleter
{
    void operator()(char* xml) const { plist_to_xml_free(xml); }
};

} // namespace

bool writePropertyList(std::string const& path, std::string const& key, std::string const& value)
{
    std::unique_ptr<void, PlistDeleter> const root(plist_new_dict());
    plist_dict_set_item(root.get(), key.c_str(), plist_new_string(value.c_str()));
    char* text = nullptr;
    uint32_t size = 0;
    plist_to_xml(root.get(), &text, &size);
    std::unique_ptr<char, XmlDeleter> const xml(text); // null if there is no memory

    std::string const name = path + "." + newUUIDString();
    Descriptor const file(open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
    bool const written = xml && write(file.get(), xml.get(), size) == static_cast<ssize_t>(size) &&
                         fsync(file.get()) == 0 && rename(name.c_str(), path.c_str()) == 0;
    unlink(name.c_str()); // a file that has been renamed no longer has this name
    return written;
}

} // namespace platform
