// What libcfg does to trees: reading, editing, writing, finding.
#include "platform/cfg.h"
#include "tests/platform/scratch.h"

#include <mxml.h>

#include <functional>
#include <vector>

namespace {

class Cfg : public Scratch {
protected:
    ~Cfg() override {
        for (mxml_node_t *handle : handles)
            cfg_deinit(handle);
    }
    mxml_node_t *load(const std::string &source) {
        handles.push_back(cfg_init(put("source.xml", source).c_str()));
        return handles.back();
    }
    std::string saved(mxml_node_t *handle) {
        std::filesystem::remove(file("saved.xml"));
        EXPECT_EQ(cfg_save_file(handle, file("saved.xml").c_str()), 0);
        return content_of(file("saved.xml"));
    }
    std::vector<mxml_node_t *> handles;
};

std::string value_of(mxml_node_t *node, uint32_t size = 2048) {
    std::string value(size, '#');
    EXPECT_EQ(cfg_get_param_value(node, value.data(), size), 0);
    return value.substr(0, value.find('\0'));
}

TEST_F(Cfg, an_unchanged_tree_is_written_back_byte_for_byte) {
    const std::string sources[] = {
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a/>\n",
        "<?xml version='1.0'  standalone = 'yes' ?>\r\n<a  x='1'\r\n\ty=\"&lt;&#10;\" ><b /></a >",
        "<a>\r\n<b></b ><c/></a\t>",
        "<a>text &amp; &#233; &quot;quoted&quot; 'é' > \t\n  </a>",
        "\n  <!-- first --><a><!-- a<b --><?run it?></a>\n<!--last-->\r\n",
        "<a>x<![CDATA[ <&]] ]]>y<![CDATA[]]></a>\n",
        "\xEF\xBB\xBF<a/>",
        "\xEF\xBB\xBF<?xml version=\"1.0\"?><a/>",
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n",
        "<?xml version=\"1.0\"?><?xml-stylesheet href=\"x\"?><p:a xmlns:p=\"urn:x\" p:k=\"\"/>",
        "<a>" + std::string(500, 'w') + " " + std::string(500, 'w') + "</a>",
    };
    for (const std::string &source : sources) {
        mxml_node_t *handle = load(source);
        ASSERT_TRUE(handle) << source;
        EXPECT_EQ(saved(handle), source);
    }
}

struct Edit {
    const char *what;
    std::string before;
    std::function<void(mxml_node_t *handle)> apply;
    std::string after;
};

void set(mxml_node_t *handle, const char *path, const char *text) {
    EXPECT_EQ(cfg_set_param_value(cfg_find_param_node(handle, path), text), 0) << path;
}

TEST_F(Cfg, an_edit_changes_what_it_names_and_nothing_else) {
    const std::string head = "<?xml version='1.0'?>\n<a  k='1'>\n <b>old</b>\n <c  />\n</a>\n";
    const Edit edits[] = {
        {"text of an element", head, [](auto *h) { set(h, "a.b", "n & <w>"); },
         "<?xml version='1.0'?>\n<a  k='1'>\n <b>n &amp; &lt;w&gt;</b>\n <c  />\n</a>\n"},
        {"text of an element written as one tag", head, [](auto *h) { set(h, "a.c", "x"); },
         "<?xml version='1.0'?>\n<a  k='1'>\n <b>old</b>\n <c>x</c>\n</a>\n"},
        {"text taken away", head, [](auto *h) { set(h, "a.b", ""); },
         "<?xml version='1.0'?>\n<a  k='1'>\n <b></b>\n <c  />\n</a>\n"},
        {"same text again", "<a><b>x&#x41;</b></a>", [](auto *h) { set(h, "a.b", "xA"); },
         "<a><b>x&#x41;</b></a>"},
        {"text beside elements keeps their layout", "<a>\n <b/>\n</a>",
         [](auto *h) { set(h, "a", "t"); }, "<a>t\n <b/>\n</a>"},
        {"text in several pieces", "<a>x<![CDATA[y]]>z<!--c--> </a>",
         [](auto *h) { set(h, "a", "t"); }, "<a>t<!--c--></a>"},
        {"lines of a mail", "<a/>",
         [](auto *h) {
             cfg_set_param_email_body_value(cfg_find_param_node(h, "a"), " one\r\n\ttwo\n");
         },
         "<a> one&#13;\n\ttwo\n</a>"},
        {"attribute", "<a  k='1'><b  l='2'/></a>",
         [](auto *h) { mxmlElementSetAttr(cfg_find_param_node(h, "a"), "k", "\"&\n"); },
         "<a k=\"&quot;&amp;&#10;\"><b  l='2'/></a>"},
        {"first element of a file", "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n",
         [](auto *h) {
             mxml_node_t *top = cfg_add_param_node(h, "Advanced");
             cfg_set_param_value(cfg_add_param_node(top, "WS-Scan "), "Enable");
             cfg_add_param_node(top, "Telnet");
         },
         "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
         "<Advanced><WS-Scan >Enable</WS-Scan ><Telnet/></Advanced>"},
        {"elements of the caller's own", "<a>\n <b/>\n</a>",
         [](auto *h) {
             mxml_node_t *parent = cfg_find_param_node(h, "a");
             mxml_node_t *child = mxmlNewElement(MXML_NO_PARENT, "n");
             mxmlNewText(child, 0, "one");
             mxmlNewText(child, 1, "t<wo");
             mxmlAdd(parent, MXML_ADD_AFTER, MXML_ADD_TO_PARENT, child);
             mxmlNewInteger(mxmlNewElement(parent, "i"), -7);
             mxmlNewCDATA(mxmlNewElement(parent, "d"), "<&");
         },
         "<a>\n <b/>\n<n>one t&lt;wo</n><i>-7</i><d><![CDATA[<&]]></d></a>"},
        {"removal takes the line along", "<a>\n <b/>\n <c/>\n <d/>\n</a>",
         [](auto *h) { cfg_del_param_node(cfg_find_param_node(h, "a.c")); },
         "<a>\n <b/>\n <d/>\n</a>"},
        {"removal without layout", "<a><b/><c/></a>",
         [](auto *h) { cfg_del_param_node(cfg_find_param_node(h, "a.b")); }, "<a><c/></a>"},
    };
    for (const Edit &edit : edits) {
        mxml_node_t *handle = load(edit.before);
        ASSERT_TRUE(handle) << edit.what;
        edit.apply(handle);
        EXPECT_EQ(saved(handle), edit.after) << edit.what;
        mxml_node_t *again = load(edit.after);
        ASSERT_TRUE(again) << edit.what;
        EXPECT_EQ(saved(again), edit.after) << edit.what;
    }
}

TEST_F(Cfg, a_node_moves_to_another_tree_and_outlives_its_own) {
    mxml_node_t *list = load("<book><Host><Row>1</Row></Host></book>\n");
    mxml_node_t *row = load("<root><Host  k='v'>\n<Row>2</Row></Host></root>");
    mxmlAdd(cfg_find_param_node(list, "book"), MXML_ADD_AFTER, MXML_ADD_TO_PARENT,
            cfg_find_param_node(row, "root.Host"));
    cfg_deinit(row);
    handles.pop_back();
    // A new tree is likely to lie where the old one lay.
    mxml_node_t *other = load("<root><Host  z='v'>\n<Rot>9</Rot></Host></root>");
    EXPECT_EQ(saved(list), "<book><Host><Row>1</Row></Host>"
                           "<Host k=\"v\">\n<Row>2</Row></Host></book>\n");
    mxmlAdd(cfg_find_param_node(other, "root"), MXML_ADD_AFTER, MXML_ADD_TO_PARENT,
            mxmlGetLastChild(cfg_find_param_node(list, "book")));
    EXPECT_EQ(saved(other), "<root><Host  z='v'>\n<Rot>9</Rot></Host>"
                            "<Host k=\"v\">\n<Row>2</Row></Host></root>");
}

TEST_F(Cfg, other_encodings_are_converted) {
    const std::string utf16("\xFF\xFE<\0a\0>\0\xE9\0<\0/\0a\0>\0\n\0", 20);
    for (const std::string &source :
         {std::string("<?xml version='1.0' encoding='ISO-8859-1'?>\n<a>\xE9</a>\n"), utf16,
          utf16.substr(2)}) {
        mxml_node_t *handle = load(source);
        ASSERT_TRUE(handle);
        EXPECT_EQ(value_of(cfg_find_param_node(handle, "a")), "\xC3\xA9");
        std::string text = saved(handle);
        EXPECT_TRUE(text.starts_with("<?xml version=\"1.0\" encoding=\"UTF-8\"?>")) << text;
        EXPECT_NE(text.find("<a>\xC3\xA9</a>\n"), text.npos) << text;
    }
}

TEST_F(Cfg, text_that_a_file_could_not_hold_is_refused) {
    mxml_node_t *handle = load("<a>old</a>");
    mxml_node_t *node = cfg_find_param_node(handle, "a");
    for (const char *text : {"\x01", "\x1b[0m", "\xff\xff\xff", "\xc3", "\xed\xa0\x80"})
        EXPECT_EQ(cfg_set_param_value(node, text), -1) << text;
    EXPECT_EQ(cfg_set_param_value(handle, "x"), -1);
    EXPECT_EQ(value_of(node), "old");
    for (const char *name : {"", " ", "a b", "a>", "!--x--", "?x", "-a", "1", "a\"", "a&", "\xff"})
        EXPECT_EQ(cfg_add_param_node(node, name), nullptr) << name;
    EXPECT_EQ(saved(handle), "<a>old</a>");
}

TEST_F(Cfg, values_are_trimmed_joined_and_cut_at_whole_characters) {
    mxml_node_t *handle = load("<a><b>\n  one <![CDATA[& two]]>\t</b><c/><d>aéb</d><e>\n</e></a>");
    EXPECT_EQ(value_of(cfg_find_param_node(handle, "a.b")), "one & two");
    EXPECT_EQ(value_of(cfg_find_param_node(handle, "a.c")), "");
    EXPECT_EQ(value_of(cfg_find_param_node(handle, "a.e")), "");
    mxml_node_t *accented = cfg_find_param_node(handle, "a.d");
    const char *cuts[] = {"", "a", "a", "aé", "aéb", "aéb"};
    for (uint32_t size = 1; size <= std::size(cuts); ++size)
        EXPECT_EQ(value_of(accented, size), cuts[size - 1]) << size;
    char byte = '#';
    EXPECT_EQ(cfg_get_param_value(accented, &byte, 0), -1);
    EXPECT_EQ(byte, '#');
    mxml_node_t *split = mxmlLoadString(nullptr, "<s> one  two\nthree</s>", MXML_NO_CALLBACK);
    EXPECT_EQ(value_of(split), "one two three");
    mxmlDelete(split);
}

struct Walk {
    const char *source;
    std::vector<std::string> paths; // of every element, from the top
};
const Walk walks[] = {
    {"<?xml version=\"1.0\"?>\n<!-- c --><s:a><!-- c -->x<s:b><c/>y</s:b><?p i?><d.e/></s:a>",
     {"s:a", "s:a.s:b", "s:a.s:b.c", "s:a.d.e"}},
    {"<a><b>1</b><b><c>2 3</c></b></a>", {"a", "a.b", "a.b", "a.b.c"}},
};

TEST_F(Cfg, walk_visits_every_element_and_its_path_finds_it) {
    for (const Walk &walk : walks) {
        mxml_node_t *handle = load(walk.source);
        std::vector<std::string> paths;
        char path[1024];
        for (mxml_node_t *n = handle; (n = cfg_walk_next(n, handle, 1));) {
            ASSERT_EQ(cfg_get_node_pathname(n, handle, path, sizeof path), 0);
            paths.push_back(path);
            EXPECT_STREQ(mxmlGetElement(cfg_find_param_node(handle, path)), mxmlGetElement(n));
        }
        EXPECT_EQ(paths, walk.paths) << walk.source;
    }
}

TEST_F(Cfg, trees_of_the_caller_walk_alike) {
    for (const Walk &walk : walks) {
        mxml_node_t *top = mxmlLoadString(nullptr, walk.source, MXML_NO_CALLBACK);
        ASSERT_TRUE(top);
        std::vector<std::string> paths;
        char path[1024];
        for (mxml_node_t *n = top; n; n = cfg_walk_next(n, top, 1))
            if (cfg_get_node_pathname(n, top, path, sizeof path) == 0)
                paths.push_back(path);
        EXPECT_EQ(paths, walk.paths) << walk.source;
        ASSERT_EQ(cfg_save_file(top, file("own.xml").c_str()), 0);
        EXPECT_TRUE(load(content_of(file("own.xml"))));
        mxmlDelete(top);
    }
}

TEST_F(Cfg, find_and_pathname_at_their_edges) {
    mxml_node_t *handle = load("<a><b/><b><c>x</c></b></a>");
    mxml_node_t *root = cfg_find_param_node(handle, "a");
    mxml_node_t *leaf = cfg_find_param_node(handle, "a.b.c"); // below the second b
    ASSERT_TRUE(leaf);
    EXPECT_EQ(cfg_find_param_node(root, "b.c"), leaf);
    for (const char *path : {"", ".", "a.", ".a", "a..b", "b", "a.b.c.d", "A"})
        EXPECT_EQ(cfg_find_param_node(handle, path), nullptr) << path;

    char path[8];
    EXPECT_EQ(cfg_get_node_pathname(leaf, leaf, path, sizeof path), 0);
    EXPECT_STREQ(path, "c");
    EXPECT_EQ(cfg_get_node_pathname(leaf, handle, path, 6), 0);
    EXPECT_STREQ(path, "a.b.c");
    EXPECT_EQ(cfg_get_node_pathname(leaf, handle, path, 5), -1);
    EXPECT_EQ(cfg_get_node_pathname(root, leaf, path, sizeof path), -1);
    EXPECT_EQ(cfg_get_node_pathname(handle, handle, path, sizeof path), -1);
    EXPECT_EQ(cfg_walk_next(root, root, 0), nullptr);
    mxml_node_t *first = cfg_walk_next(root, root, 1);
    EXPECT_EQ(cfg_walk_next(cfg_walk_next(first, root, 0), root, 0), nullptr);
}

TEST_F(Cfg, null_arguments_are_harmless) {
    mxml_node_t *handle = load("<a/>");
    char value[4];
    EXPECT_EQ(cfg_init(nullptr), nullptr);
    EXPECT_EQ(cfg_save_file(nullptr, file("x").c_str()), -1);
    EXPECT_EQ(cfg_save_file(handle, nullptr), -1);
    EXPECT_EQ(cfg_find_param_node(nullptr, "a"), nullptr);
    EXPECT_EQ(cfg_find_param_node(handle, nullptr), nullptr);
    EXPECT_EQ(cfg_get_param_value(nullptr, value, sizeof value), -1);
    EXPECT_EQ(cfg_get_param_value(handle, nullptr, 4), -1);
    EXPECT_EQ(cfg_set_param_value(nullptr, "x"), -1);
    EXPECT_EQ(cfg_set_param_value(cfg_find_param_node(handle, "a"), nullptr), -1);
    EXPECT_EQ(cfg_add_param_node(nullptr, "x"), nullptr);
    EXPECT_EQ(cfg_add_param_node(handle, nullptr), nullptr);
    EXPECT_EQ(cfg_del_param_node(nullptr), -1);
    EXPECT_EQ(cfg_del_param_node(handle), -1);
    EXPECT_EQ(cfg_walk_next(nullptr, handle, 1), nullptr);
    EXPECT_EQ(cfg_get_node_pathname(nullptr, handle, value, sizeof value), -1);
    cfg_deinit(nullptr);
}

} // namespace
