/*
Success:
Position: XXX is a function suffix without argument, on a declaration and a definition.
*/
void kw_f() XXX;
void kw_f() XXX { }
