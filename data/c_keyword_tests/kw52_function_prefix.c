/*
Success:
Position: XXX is a function specifier among the declaration specifiers of a definition.
*/
static XXX int kw_f(void) { return 0; }
