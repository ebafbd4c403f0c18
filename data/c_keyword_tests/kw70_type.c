/*
Success:type
Position: XXX is a complete type: an object, a pointer to it and its size.
*/
unsigned long kw_n = sizeof(XXX);
XXX kw_v;
XXX *kw_p = &kw_v;
