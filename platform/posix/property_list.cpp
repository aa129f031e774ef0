#include "platform/platform.h"
#include "platform/posix/temporary_file.h"

#include <memory>
#include <new>
#include <plist/plist.h>

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
    if (!root) {
        throw std::bad_alloc();
    }
    plist_dict_set_item(root.get(), key.c_str(), plist_new_string(value.c_str()));

    char* text = nullptr;
    uint32_t size = 0;
    plist_to_xml(root.get(), &text, &size);
    std::unique_ptr<char, XmlDeleter> const xml(text);
    if (!xml) {
        return false;
    }
    TemporaryFile file(path, 0644);
    return file.isOpen() && file.write(xml.get(), size) && file.replaceTarget();
}

} // namespace platform
