// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The document of facts in JSON.
#pragma once

#include "findings.h"
#include "json.h"

// Raised when a reader of the documents has to know of a change. Members may be added without.
constexpr unsigned int schema_version = 1;

json to_json(const answer &value);

// {"schema": 1, "facts": {NAME: ...}} with what `show` prints of each fact, or with all that is
// known of it.
enum class detail { brief, full };
json document_of(const findings &found, detail how_much, bool is_redacted = false);

// The layers by name, "/" first, with those that each stands on.
json layers_in(const finding &one);

// The JSON schema of such a document.
json document_schema();
