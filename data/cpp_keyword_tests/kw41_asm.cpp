/*
Success:kiv_ignore_paren
Position: XXX is an assembler name after a declarator and an assembler statement, both with a string argument.
*/
int kw_v XXX("kw_label");
void kw_f() { XXX(""); }
