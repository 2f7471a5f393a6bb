/*
 * The display vendor's service executable as the module sees it: only its version resource is
 * read (VersionStandIn-5.rc, VersionStandIn-4.rc), so the program itself does nothing.
 */
int main(void) { return 0; }
