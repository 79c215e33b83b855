// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What the walk over the network interfaces costs, and how much of it the readlink runs take.
#include "orvane.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <stdexcept>
#include <string>

#include <benchmark/benchmark.h>

#include <linux/sockios.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// One entry for each of the families in which an interface has an address.
constexpr int entries_per_card = 3;

void require(bool done, const char *what)
{
    if (!done)
        throw std::runtime_error(std::string("the benchmark cannot ") + what);
}

// Wired cards eth0, eth1, ..., each with one IPv4 and one IPv6 address.
void add_cards(int cards)
{
    std::FILE *const ip = ::popen("exec ip -batch -", "w");
    require(ip != nullptr, "run ip");
    for (int i = 0; i < cards; ++i)
        std::fprintf(ip,
                     "link add eth%d type veth peer name peer%d\n"
                     "link set eth%d addrgenmode none\n"
                     "addr add 10.%d.0.1/16 dev eth%d\n"
                     "addr add fd00:%x::1/64 dev eth%d nodad\n"
                     "link set eth%d up\n",
                     i, i, i, i, i, i, i, i);
    require(::pclose(ip) == 0, "make network cards");
}

// Enters a network of its own with so many cards, made at its first use.
void enter_network(int cards)
{
    static std::map<int, int> networks; // cards, namespace
    if (const auto known = networks.find(cards); known != networks.end()) {
        require(::setns(known->second, CLONE_NEWNET) == 0, "change its network");
        return;
    }
    require(::unshare(CLONE_NEWNET) == 0, "make a network");
    add_cards(cards);
    const int socket = ::socket(AF_INET, SOCK_DGRAM, 0);
    networks[cards] = ::ioctl(socket, SIOCGSKNS);
    ::close(socket);
    require(networks[cards] >= 0, "keep its network");
}

void network_identity_query(benchmark::State &state)
{
    enter_network(static_cast<int>(state.range(0)));
    for ([[maybe_unused]] auto _ : state) {
        char *const address = orvane_get_network_interface_max_mac();
        if (address == nullptr)
            state.SkipWithError("the query has no answer");
        std::free(address);
    }
}

void run_readlink(benchmark::State &state, int card)
{
    const std::string link = "/sys/class/net/eth" + std::to_string(card) + "/device";
    char line[1024] = {};
    std::FILE *const output = ::popen(("readlink -f -z '" + link + "'").c_str(), "r");
    if (output == nullptr || std::fgets(line, sizeof line, output) == nullptr)
        state.SkipWithError("readlink does not know the card");
    if (output != nullptr)
        ::pclose(output);
}

// As many as the query needs.
void readlink_runs(benchmark::State &state)
{
    for ([[maybe_unused]] auto _ : state) {
        for (int card = 0; card < state.range(0); ++card) {
            for (int entry = 0; entry < entries_per_card; ++entry)
                run_readlink(state, card);
        }
    }
}

} // namespace

BENCHMARK(network_identity_query)->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond);
BENCHMARK(readlink_runs)->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond);
