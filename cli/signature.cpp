// SPDX-License-Identifier: LGPL-2.1-or-later
//
// orvane signature: RSA signatures of texts.
#include "commands.h"
#include "input.h"
#include "output.h"
#include "stderr_capture.h"

#include "orvane.h"

#include <stdexcept>
#include <string>

#include <dlfcn.h>

namespace {

// The key of the last check.
struct {
    std::string path; // the system's where it is empty
    bool is_refused = false;
} public_key;

// The library's first line on standard error is the reason. It has none for a signature that does
// not match.
std::string reason_in(const std::string &messages)
{
    if (messages.empty())
        return "it does not match the text";
    const std::string reason = messages.substr(0, messages.find('\n'));
    return reason == "Failed to decode base64 si11gnature" ? "it is not base64" : reason;
}

// Why the library has no key.
std::string reason_of_refusal()
{
    try {
        check_readable(public_key.path);
    } catch (const unreadable_input &error) {
        return error.reason();
    }
    return "\"-----BEGIN RSA PUBLIC KEY-----\" and a key in PEM are needed";
}

} // namespace

// Replaces the library's function, which verify_signature() calls for the system's key alone.
extern "C" struct rsa_st *load_public_key(const char *path)
{
    using load_function = struct rsa_st *(*)(const char *);
    static const auto library_load =
        reinterpret_cast<load_function>(::dlsym(RTLD_NEXT, "load_public_key"));
    if (public_key.path.empty())
        public_key.path = path;
    struct rsa_st *const key =
        library_load != nullptr ? library_load(public_key.path.c_str()) : nullptr;
    public_key.is_refused = key == nullptr;
    return key;
}

int check_signature(const signature_options &options)
{
    const std::string text = read_text(options.text_file);
    const std::string signature = read_text(options.signature_file);
    public_key = {options.key};
    bool is_valid = false;
    std::string messages;
    {
        const stream_capture output(stdout);
        const stream_capture error(stderr);
        is_valid = verify_signature(text.c_str(), signature.c_str());
        messages = error.text();
    }
    if (public_key.is_refused)
        throw std::runtime_error(public_key.path + ": no RSA public key: " + reason_of_refusal());
    if (!is_valid)
        throw negative_result(options.signature_file +
                              ": no valid signature: " + reason_in(messages));
    print_line(options.text_file + ": valid");
    return success;
}
