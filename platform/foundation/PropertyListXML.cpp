#include "platform/foundation/PropertyListXML.h"

#include <plist/plist.h>

#include <QString>
#include <clocale>
#include <cstring>

#include "platform/foundation/FileContents.h"
#include "platform/foundation/PropertyListScreen.h"
#include "platform/foundation/Text.h"

namespace velmora {

namespace {

struct NodeDeleter {
    void operator()(plist_t node) const { plist_free(node); }
};
using Node = std::unique_ptr<void, NodeDeleter>;

struct MemoryDeleter {
    void operator()(void* memory) const { std::free(memory); }
};

// The library reads and writes real numbers in the locale of the user, whose decimal point may be a comma. This
// thread's is put aside.
class PlainNumbers {
  public:
    PlainNumbers() : outer_(uselocale(plain())) {}
    PlainNumbers(const PlainNumbers&) = delete;
    PlainNumbers& operator=(const PlainNumbers&) = delete;
    ~PlainNumbers() { uselocale(outer_); }

  private:
    static locale_t plain() {
        static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
        return locale;
    }
    const locale_t outer_;
};

bool fail(std::string* error, const std::string& reason) {
    if (error != nullptr) *error = reason;
    return false;
}

// The screen has bounded the depth.
PropertyList propertyListWithNode(plist_t node) {
    switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN: {
            std::uint8_t boolean = 0;
            plist_get_bool_val(node, &boolean);
            return boolean != 0;
        }
        case PLIST_UINT: {
            std::uint64_t bits = 0;
            plist_get_uint_val(node, &bits);
            return static_cast<std::int64_t>(bits);
        }
        case PLIST_REAL: {
            double real = 0;
            plist_get_real_val(node, &real);
            return real;
        }
        case PLIST_ARRAY: {
            auto array = std::make_shared<PropertyListArray>();
            plist_array_iter iterator = nullptr;
            plist_array_new_iter(node, &iterator);
            const std::unique_ptr<void, MemoryDeleter> iteratorOwner(iterator);
            for (;;) {
                plist_t item = nullptr;
                plist_array_next_item(node, iterator, &item);
                if (item == nullptr) return array;
                array->push_back(propertyListWithNode(item));
            }
        }
        case PLIST_DICT: {
            auto dictionary = std::make_shared<PropertyListDictionary>();
            plist_dict_iter iterator = nullptr;
            plist_dict_new_iter(node, &iterator);
            const std::unique_ptr<void, MemoryDeleter> iteratorOwner(iterator);
            for (;;) {
                char* key = nullptr;
                plist_t item = nullptr;
                plist_dict_next_item(node, iterator, &key, &item);
                const std::unique_ptr<char, MemoryDeleter> keyOwner(key);
                if (item == nullptr) return dictionary;
                dictionary->insert_or_assign(key, propertyListWithNode(item));
            }
        }
        default: {
            // The screen lets nothing else through than texts.
            std::uint64_t length = 0;
            const char* text = plist_get_string_ptr(node, &length);
            return std::string(text, length);
        }
    }
}

// Builds the library's tree, within the bounds.
class NodeBuilder {
  public:
    // Null when the value is beyond the bounds; `error` then says which.
    Node nodeWithValue(const PropertyList& value, int depth = 0);

    std::string error;

  private:
    std::string writableText(const std::string& text);
    bool withinBounds(int depth);

    std::size_t values_ = 0;
    std::size_t bytes_ = 0;
};

bool NodeBuilder::withinBounds(int depth) {
    if (++values_ > kPropertyListValueLimit) {
        error = stringWithFormat("the value holds more than %li values", kPropertyListValueLimit);
    } else if (bytes_ > kPropertyListByteLimit) {
        error = stringWithFormat("the document would have more than %li bytes", kPropertyListByteLimit);
    } else if (depth > kPropertyListDepthLimit) {
        error = stringWithFormat("the value is nested more than %li deep, or contains itself", kPropertyListDepthLimit);
    }
    return error.empty();
}

std::string NodeBuilder::writableText(const std::string& text) {
    // As they will stand in the document.
    for (const char byte : text) {
        bytes_ += byte == '&' ? 5 : byte == '<' || byte == '>' ? 4 : 1;
    }
    if (text.find('\0') == std::string::npos && isValidUTF8(text)) return text;
    return QString::fromUtf8(text).replace(QChar::Null, QChar::ReplacementCharacter).toStdString();
}

Node NodeBuilder::nodeWithValue(const PropertyList& value, int depth) {
    if (const ArrayReference array = value.array()) {
        if (!withinBounds(++depth)) return nullptr;
        Node node(plist_new_array());
        for (const PropertyList& item : *array) {
            Node itemNode = nodeWithValue(item, depth);
            if (!itemNode) return nullptr;
            plist_array_append_item(node.get(), itemNode.release());
        }
        return node;
    }
    if (const DictionaryReference dictionary = value.dictionary()) {
        if (!withinBounds(++depth)) return nullptr;
        Node node(plist_new_dict());
        for (const auto& [key, item] : *dictionary) {
            Node itemNode = nodeWithValue(item, depth);
            if (!itemNode) return nullptr;
            plist_dict_set_item(node.get(), writableText(key).c_str(), itemNode.release());
        }
        return node;
    }
    const auto text = value.text();
    const std::string writable = text ? writableText(*text) : std::string();
    if (!withinBounds(depth)) return nullptr;
    if (text) return Node(plist_new_string(writable.c_str()));
    if (const auto boolean = value.boolean()) return Node(plist_new_bool(*boolean ? 1 : 0));
    if (const auto real = value.real()) return Node(plist_new_real(*real));
    // Kept as bits; the library writes negative numbers with their sign.
    return Node(plist_new_uint(static_cast<std::uint64_t>(value.integerValue())));
}

}  // namespace

std::optional<PropertyList> propertyListWithXML(std::string_view xml, std::string* error) {
    std::string reason;
    const auto plain = plainPropertyListXML(xml, reason);
    if (!plain) {
        fail(error, reason);
        return std::nullopt;
    }
    const PlainNumbers plainNumbers;
    plist_t tree = nullptr;
    plist_from_xml(plain->data(), static_cast<std::uint32_t>(plain->size()), &tree);
    const Node root(tree);
    if (!root) {
        fail(error, "the document could not be parsed");
        return std::nullopt;
    }
    return propertyListWithNode(root.get());
}

std::optional<std::string> XMLWithPropertyList(const PropertyList& value, std::string* error) {
    NodeBuilder builder;
    const Node root = builder.nodeWithValue(value);
    if (!root) {
        fail(error, builder.error);
        return std::nullopt;
    }
    const PlainNumbers plainNumbers;
    char* xml = nullptr;
    std::uint32_t length = 0;
    plist_to_xml(root.get(), &xml, &length);
    const std::unique_ptr<char, MemoryDeleter> owner(xml);
    if (xml == nullptr || length > kPropertyListByteLimit) {
        fail(error, stringWithFormat("the document would have more than %li bytes", kPropertyListByteLimit));
        return std::nullopt;
    }
    return std::string(xml, length);
}

std::optional<PropertyList> propertyListWithContentsOfFile(const std::filesystem::path& file, std::string* error) {
    const Result<std::string> contents = readFile(file, kPropertyListByteLimit);
    if (!contents) {
        fail(error, stringWithFormat("%@ cannot be read: %@", file.string(), contents.failure().reason));
        return std::nullopt;
    }
    std::string reason;
    auto value = propertyListWithXML(*contents, &reason);
    if (!value) fail(error, stringWithFormat("%@ is no usable property list: %@", file.string(), reason));
    return value;
}

bool writePropertyListToFile(const PropertyList& value, const std::filesystem::path& file, std::string* error) {
    std::string reason;
    const auto xml = XMLWithPropertyList(value, &reason);
    if (!xml) return fail(error, stringWithFormat("%@ cannot be written: %@", file.string(), reason));
    const Result<void> replaced = replaceFile(file, *xml);
    if (!replaced)
        return fail(error, stringWithFormat("%@ cannot be written: %@", file.string(), replaced.failure().reason));
    return true;
}

}  // namespace velmora
