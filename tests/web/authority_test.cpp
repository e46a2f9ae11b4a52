/// Who may do what is the administrator's.

#include "device/web/authority.h"

#include <gtest/gtest.h>

namespace varn::web {
namespace {

TEST(Authority, LoopbackIsThisMachine) {
    for (const char *address : {"127.0.0.1", "127.255.0.9", "localhost"})
        EXPECT_TRUE(is_loopback(address)) << address;
    for (const char *address : {"0.0.0.0", "192.0.2.2", "128.0.0.1", "127.0.0.1.example", "", "::"})
        EXPECT_FALSE(is_loopback(address)) << address;
}

/// A name that leads here, and pages of other sites, do not make their owner the administrator.
TEST(Authority, TheAdministratorIsAtThisMachineAndMeansIt) {
    Sender plain;
    plain.host = "127.0.0.1:8080";
    plain.is_from_this_machine = true;
    const auto with = [&](auto change) {
        Sender sender = plain;
        change(sender);
        return sender;
    };
    const struct {
        Sender sender;
        bool may;
    } rows[] = {
        {plain, true},
        {with([](Sender &s) { s.is_from_this_machine = false; }), false},
        {with([](Sender &s) { s.host = "localhost"; }), true},
        {with([](Sender &s) { s.host = "[::1]:8080"; }), true},
        {with([](Sender &s) { s.host = "[::1]"; }), true},
        {with([](Sender &s) { s.host = "[::2]:8080"; }), false},
        {with([](Sender &s) { s.host = "scanner.example:8080"; }), false},
        {with([](Sender &s) { s.host = "127.0.0.1.example:8080"; }), false},
        {with([](Sender &s) { s.host = "192.0.2.2:8080"; }), false},
        {with([](Sender &s) { s.host = ""; }), false},
        {with([](Sender &s) { s.origin = "http://127.0.0.1:8080"; }), true},
        {with([](Sender &s) { s.origin = "https://127.0.0.1:8080"; }), false},
        {with([](Sender &s) { s.origin = "http://127.0.0.1:9999"; }), false},
        {with([](Sender &s) { s.origin = "http://evil.example"; }), false},
        {with([](Sender &s) { s.origin = "null"; }), false},
        {with([](Sender &s) { s.origin = ""; }), false},
        {with([](Sender &s) { s.fetch_site = "same-origin"; }), true},
        {with([](Sender &s) { s.fetch_site = "none"; }), true},
        {with([](Sender &s) { s.fetch_site = "cross-site"; }), false},
        {with([](Sender &s) { s.fetch_site = "same-site", s.fetch_destination = "document"; }),
         true},
    };
    for (const auto &row : rows)
        EXPECT_EQ(may_administer(row.sender), row.may)
            << row.sender.host << " " << row.sender.origin.value_or("-") << " "
            << row.sender.fetch_site;
}

} // namespace
} // namespace varn::web
