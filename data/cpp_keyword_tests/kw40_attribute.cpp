/*
Success:kiv_ignore_paren
Position: XXX is an attribute with a double-parenthesised argument, after a declarator and before a declaration.
*/
static int kw_v2 XXX((__unused__));
XXX((__unused__)) static int kw_v1;
