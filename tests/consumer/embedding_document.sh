#!/bin/bash
# Compiles and runs the programs and commands of the document about embedding as they are printed.
# Usage: embedding_document.sh DOCUMENT PREFIX LIBDIR WORK-DIR
set -euo pipefail

work=$4/embedding_document
rm -rf "$work"
mkdir -p "$work"
document=$(realpath "$1")
export PATH="$2/bin:$PATH" PKG_CONFIG_PATH="$2/$3/pkgconfig" LD_LIBRARY_PATH="$2/$3"
cd "$work"
awk '
    /^```/ { block = $0 == "```c" || $0 == "```sh" ? substr($0, 4) : ""; number += block == "c"; next }
    block == "c" { print >("block" number ".c") }
    block == "sh" { print >"commands" }' "$document"

fail() {
    echo "$*" >&2
    exit 1
}
read -ra flags < <(pkg-config --cflags --libs liborvane glib-2.0)
strict=(-std=c99 -Wall -Wextra -Wpedantic -Werror)
[ "$(echo block*)" = "block1.c block2.c block3.c block4.c block5.c" ] ||
    fail "other programs than known here: $(echo block*)"
for block in block*.c; do
    gcc -c "${strict[@]}" "$block" "${flags[@]}" -o "${block%.c}.o"
    clang -c "${strict[@]}" "$block" "${flags[@]}" -Wno-unused-command-line-argument -o /dev/null
done

# link PROGRAM FILE...
link() { gcc -D_DEFAULT_SOURCE "${@:2}" "${flags[@]}" -pthread -o "$1"; }
is() { [ "$2" = "$3" ] || fail "$1: '$2', not '$3'"; }

# A name that is replaced by accident, and the remedies.
wrong=$(sed -n 's,^\(char \*root_device(void) {.*}\)  *\/\*.*,\1,p' "$document")
[ -n "$wrong" ] || fail "no program with a wrong name"
echo "$wrong" >other.c
cat >main.c <<'C'
#include <stdio.h>
#include <stdlib.h>
char *root_device(void);
char *orvane_get_harddisk_id(void);
int main(int count, char **words)
{
    free(orvane_get_harddisk_id());
    puts(count > 1 ? words[1] : root_device());
    return 0;
}
C
cat other.c main.c >program.c
gcc -c other.c
ar rc libother.a other.o
link replacing program.c
status=0
./replacing >/dev/null 2>&1 || status=$?
is "status of a program that replaces root_device()" $status 134
# shellcheck disable=SC1091
. ./commands
for program in hidden scripted excluded; do
    is "output of $program" "$(./$program 2>/dev/null)" 'the root of my tree'
    nm -D --defined-only $program | awk '{ print $NF }' >names
    ! grep -qx root_device names || fail "$program exports root_device"
done
# The command says the same of each.
orvane check-names hidden scripted excluded || fail "check-names finds a name where none is"
status=0
orvane check-names replacing >names || status=$?
is "status of check-names" $status 1
grep -qw root_device names || fail "check-names does not name root_device"

# The name that is meant to be replaced.
link simulating block1.o
is "the simulated manufacturer's class" "$(./simulating 2>/dev/null)" TYPE_LENOVO

# The locale after verifying, and the state of cancellation after a query.
cat >states.c <<'C'
#include <locale.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
int verify_and_keep_the_locale(const char *path, char **content, unsigned int *length);
char *disk_of_cancellable_thread(void);
char *orvane_get_harddisk_id(void)
{
    int state;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state);
    printf("%s\n", state == PTHREAD_CANCEL_DISABLE ? "disabled" : "enabled");
    return NULL;
}
int main(void)
{
    int state;
    printf("%d\n", verify_and_keep_the_locale("missing", NULL, NULL));
    printf("%s\n", setlocale(LC_ALL, NULL));
    free(disk_of_cancellable_thread());
    pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, &state);
    printf("%s\n", state == PTHREAD_CANCEL_DISABLE ? "disabled" : "enabled");
    return 0;
}
C
link states states.c block2.o block3.o
is "locale and cancellation" "$(LC_ALL=C.UTF-8 ./states 2>/dev/null | xargs)" '49 C disabled enabled'

# A child that is waited for by its id.
cat >waiting.c <<'C'
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>
int wait_for(pid_t child);
int main(void)
{
    pid_t child = fork();
    if (child == 0)
        _exit(7);
    printf("%d ", WEXITSTATUS(wait_for(child)));
    printf("%d\n", wait_for(child));
    return 0;
}
C
link waiting waiting.c block4.o
is "the child's status" "$(./waiting)" '7 -1'

# A query in a child: one that answers, one that does not, and one whose tool hangs.
cat >limited.c <<'C'
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
int disk_within(int milliseconds, char *buffer, size_t size);
static const char *behaviour;
char *orvane_get_harddisk_id(void)
{
    if (strcmp(behaviour, "hangs") == 0)
        return system("sleep 100 & echo $! >tool; wait") == 0 ? NULL : NULL;
    if (strcmp(behaviour, "too long") == 0)
        return strdup("MODEL_SERIAL1");
    return strcmp(behaviour, "answers") == 0 ? strdup("MODEL_SERIAL") : NULL;
}
int main(int count, char **words)
{
    char buffer[13] = "unchanged";
    int code;
    behaviour = words[count - 1];
    code = disk_within(behaviour[0] == 'h' ? 1000 : 60000, buffer, sizeof buffer);
    printf("%d [%s]\n", code, buffer);
    return 0;
}
C
link limited limited.c block5.o
is "a query that answers" "$(./limited answers)" '0 [MODEL_SERIAL]'
is "a query whose answer does not fit" "$(./limited 'too long')" '-1 []'
is "a query without an answer" "$(./limited none)" '-1 []'
# Not in a pipe, which the tool would hold open.
timeout 30 ./limited hangs >output || fail "a query that hangs is not killed"
is "a query that hangs" "$(cat output)" '-1 []'
tool=$(cat tool)
timeout 10 tail --pid="$tool" -f /dev/null || {
    kill "$tool"
    fail "the tool of a query that hung still runs"
}
