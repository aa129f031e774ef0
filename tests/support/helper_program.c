/* Stands in for a helper of the installed application: writes its arguments, one per line, to a file of its own in
 * "/started" and ends. Linked statically, because scratch roots contain no libraries. */
#include <stdio.h>
#include <unistd.h>

int main(int count, char* arguments[])
{
    char path[64];
    snprintf(path, sizeof path, "/started/%ld", (long)getpid());
    FILE* const file = fopen(path, "w");
    if (file == NULL) {
        return 1;
    }
    for (int i = 0; i < count; ++i) {
        fprintf(file, "%s\n", arguments[i]);
    }
    fclose(file);
    return 1; /* never 0: a test must not pass because its own process has become this program */
}
