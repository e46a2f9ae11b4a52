// What libcfg does to files: hostile ones, replacement, several threads.
#include "platform/cfg.h"
#include "tests/platform/scratch.h"

#include <mxml.h>
#include <sys/stat.h>

#include <atomic>
#include <random>
#include <thread>
#include <vector>

namespace {

using CfgFile = Scratch;

TEST_F(CfgFile, unreadable_or_hostile_files_give_null) {
    std::string deep, attributes, wide;
    for (int i = 0; i < 100000; ++i) {
        deep += "<a>";
        attributes += " a" + std::to_string(i) + "=''";
    }
    const struct {
        const char *what;
        std::string content;
    } files[] = {
        {"empty", ""},
        {"blank", " \n"},
        {"no markup", "plain text"},
        {"binary", std::string("\x7f\0E\x01\x02", 5)},
        {"zero byte in the middle", std::string("<a>\0</a>", 8)},
        {"cut off in text", "<a><b>tex"},
        {"cut off in a tag", "<a><b"},
        {"cut off behind a declaration", "<?xml version='1.0'?><a><b/>"},
        {"cut off in a comment", "<a/><!-- "},
        {"crossed tags", "<a><b></a></b>"},
        {"second root", "<a/><b/>"},
        {"control character", "<a>\x01</a>"},
        {"bad UTF-8", "<a>\xc3(</a>"},
        {"undefined entity", "<a>&nbsp;</a>"},
        {"unknown encoding", "<?xml version='1.0' encoding='x-none'?><a/>"},
        {"entity bomb", "<!DOCTYPE a [<!ENTITY b 'bb'><!ENTITY c '&b;&b;'>]><a>&c;</a>"},
        {"nested without end", deep},
        {"attributes without end", "<a" + attributes + "/>"},
        {"huge", "<a>" + std::string(2 << 20, 'x') + "</a>"},
    };
    for (const auto &each : files)
        EXPECT_EQ(cfg_init(put("f", each.content).c_str()), nullptr) << each.what;

    EXPECT_EQ(cfg_init(file("missing").c_str()), nullptr);
    EXPECT_EQ(cfg_init(dir.c_str()), nullptr);
    ASSERT_EQ(mkfifo(file("pipe").c_str(), 0600), 0);
    EXPECT_EQ(cfg_init(file("pipe").c_str()), nullptr);
}

// Whatever loads is written back as it was; whatever the library then made of it loads again.
TEST_F(CfgFile, damaged_documents_are_refused_or_kept) {
    const std::string seed = "<?xml version='1.0'?>\r\n<!-- c --><a b='c &amp; d'>x<![CDATA[<]]>y"
                             "<?p q?><d/><e f=\"\"></e >&#233; \xC3\xA9</a>\n";
    const char *const pieces[] = {"<", ">", "/>", "</", "<!--", "-->", "<![CDATA[", "]]>",  "?>",
                                  "&", ";", "\"", "'",  "=",    "\r",  "\x01",      "\xC3", "<b/>"};
    std::mt19937 random(7);
    auto below = [&](std::size_t limit) { return random() % limit; };
    int loaded = 0;
    for (int round = 0; round < 400; ++round) {
        std::string source = seed;
        for (std::size_t changes = below(3); changes > 0; --changes) {
            std::size_t at = below(source.size());
            if (below(2))
                source.insert(at, pieces[below(std::size(pieces))]);
            else
                source.erase(at, 1 + below(8));
        }
        mxml_node_t *handle = cfg_init(put("in", source).c_str());
        if (!handle)
            continue;
        ++loaded;
        EXPECT_EQ(cfg_save_file(handle, file("out").c_str()), 0);
        EXPECT_EQ(content_of(file("out")), source);
        if (mxml_node_t *element = cfg_walk_next(handle, handle, 1)) {
            cfg_set_param_value(element, pieces[below(std::size(pieces))]);
            cfg_add_param_node(element, pieces[below(std::size(pieces))]);
        }
        EXPECT_EQ(cfg_save_file(handle, file("out").c_str()), 0) << source;
        mxml_node_t *again = cfg_init(file("out").c_str());
        EXPECT_TRUE(again) << source;
        cfg_deinit(again);
        cfg_deinit(handle);
    }
    EXPECT_GT(loaded, 100);
}

TEST_F(CfgFile, saving_keeps_mode_and_link_and_leaves_nothing_behind) {
    std::string path = put("real.xml", "<a>1</a>");
    ASSERT_EQ(chmod(path.c_str(), 0640), 0);
    std::filesystem::create_symlink("real.xml", dir / "link.xml");
    mxml_node_t *handle = cfg_init(file("link.xml").c_str());
    cfg_set_param_value(cfg_find_param_node(handle, "a"), "2");
    EXPECT_EQ(cfg_save_file(handle, file("link.xml").c_str()), 0);
    EXPECT_EQ(content_of(path), "<a>2</a>");
    EXPECT_TRUE(std::filesystem::is_symlink(dir / "link.xml"));
    struct stat first = {}, second = {};
    stat(path.c_str(), &first);
    EXPECT_EQ(first.st_mode & 07777, 0640u);
    // Saved once more without a change, the file is not even touched.
    EXPECT_EQ(cfg_save_file(handle, path.c_str()), 0);
    stat(path.c_str(), &second);
    EXPECT_EQ(first.st_ino, second.st_ino);
    cfg_deinit(handle);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir), {}), 2);
}

TEST_F(CfgFile, a_failed_save_leaves_the_old_file) {
    std::string path = put("a.xml", "<a>1</a>");
    mxml_node_t *handle = cfg_init(path.c_str());
    EXPECT_EQ(cfg_save_file(handle, file("no/such/dir.xml").c_str()), -1);
    EXPECT_EQ(cfg_save_file(handle, dir.c_str()), -1);
    mxmlNewText(cfg_find_param_node(handle, "a"), 0, "\x02"); // the file could not be read again
    EXPECT_EQ(cfg_save_file(handle, path.c_str()), -1);
    EXPECT_EQ(content_of(path), "<a>1</a>");
    cfg_deinit(handle);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir), {}), 1);
}

TEST_F(CfgFile, a_reader_finds_a_whole_document_while_others_save) {
    std::string path = put("a.xml", "<a>" + std::string(20000, 'a') + "</a>");
    std::atomic<bool> done{false};
    std::vector<std::thread> writers;
    for (char letter : {'b', 'c'})
        writers.emplace_back([&path, letter] {
            for (int i = 0; i < 40; ++i) {
                mxml_node_t *handle = cfg_init(path.c_str());
                cfg_set_param_value(cfg_find_param_node(handle, "a"),
                                    std::string(20000 + i, letter).c_str());
                EXPECT_EQ(cfg_save_file(handle, path.c_str()), 0);
                cfg_deinit(handle);
            }
        });
    std::thread reader([&] {
        do {
            std::string text = content_of(path);
            EXPECT_GE(text.size(), 20007u);
            EXPECT_EQ(text.find_first_not_of(text[3], 3), text.size() - 4);
        } while (!done);
    });
    for (std::thread &writer : writers)
        writer.join();
    done = true;
    reader.join();
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir), {}), 1);
}

} // namespace
