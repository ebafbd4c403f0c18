/*
Success:
Position: XXX is a prefix of an expression and of a declaration.
*/
int kw_f() { return XXX (1); }
XXX int kw_v;
