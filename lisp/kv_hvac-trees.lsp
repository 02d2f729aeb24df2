;;; The application layer's floors and zones: the two trees the designer sorts rooms in, kept in
;;; the project database, and the callbacks of the floor and zone tree dialogs. A tree is a tree
;;; list: ("label" . data) items, each optionally followed by the list of its children; data is
;;; negative for a room (minus its index), positive for a floor or zone.

;; The trees of the session, for a drawing without a project.
(setq tree-hvac-floor nil tree-hvac-zone nil)

;; The project file, whose schema holds the store of trees (tblKvTree); nil without a project.
(defun tree-hvac-table () (projectdb-currentFile))

;; The stored tree called NAME ("floor" or "zone"), or nil.
(defun tree-hvac-load (name / file text)
  (if (and (setq file (tree-hvac-table))
           (setq text (car (kvdb-query file (strcat "SELECT sTree FROM tblKvTree WHERE sName = '" name "'") "sTree"))))
    (read text)))

;; Stores TREE under NAME; without a project it is kept for the session only.
(defun tree-hvac-store (name tree / file)
  (set (read (strcat "tree-hvac-" name)) tree)
  (if (setq file (tree-hvac-table))
    (kvdb-execute file (strcat "INSERT OR REPLACE INTO tblKvTree (sName, sTree) VALUES ('" name "', '"
                               (room-hvac-quote (vl-prin1-to-string tree)) "')")))
  tree)

;; The tree NAME as last stored, from the project when it has one.
(defun tree-hvac-get (name / stored)
  (if (setq stored (tree-hvac-load name)) stored (eval (read (strcat "tree-hvac-" name)))))

;; Whether X is an item ("label" . data) rather than a list of children.
(defun tree-hvac-item-p (x) (and (listp x) (numberp (cdr x))))

;; Every item data of TREE, at every depth.
(defun tree-hvac-allData (tree / out)
  (foreach x tree
    (cond ((tree-hvac-item-p x) (setq out (cons (cdr x) out)))
          ((listp x) (setq out (append (tree-hvac-allData x) out)))))
  out)

;; The next free data of a floor or zone in TREE.
(defun tree-hvac-nextGroup (tree / top)
  (setq top 0)
  (foreach d (tree-hvac-allData tree) (if (> d top) (setq top d)))
  (1+ top))

;; TREE with ITEM added as the last child of its first item (the first floor or zone), or as the
;; only item of an empty tree.
(defun tree-hvac-addUnderFirst (tree item)
  (cond ((null tree) (list item))
        ((and (cadr tree) (listp (cadr tree)) (not (tree-hvac-item-p (cadr tree))))
         (cons (car tree) (cons (append (cadr tree) (list item)) (cddr tree))))
        (T (cons (car tree) (cons (list item) (cdr tree))))))

;; Adds a group (floor or zone) called "<LABEL> <n>" at the end of tree NAME; answers the dialog's
;; (item tree) so that the new group is selected.
(defun tree-hvac-addGroup (name label / tree id)
  (setq tree (tree-hvac-get name)
        id (tree-hvac-nextGroup tree))
  (tree-hvac-store name (append tree (list (cons (strcat label " " (itoa id)) id))))
  (list id (tree-hvac-get name)))

;; Draws a new room by picks and files it under the first group of tree NAME; answers the tree.
(defun tree-hvac-createRoom (name / ix label)
  (setq ix (room-hvac-nextIndex)
        label (strcat "Room " (itoa ix)))
  (if (room-hvac-draw label)
    (tree-hvac-store name (tree-hvac-addUnderFirst (tree-hvac-get name) (cons label (- ix))))
    (tree-hvac-get name)))

;; TREE without the item of data D (and its children), at any depth; a list of children left
;; empty goes with it.
(defun tree-hvac-remove (tree d / out skip)
  (foreach x tree
    (cond
      (skip (setq skip nil) (if (tree-hvac-item-p x) (setq out (cons x out))))
      ((tree-hvac-item-p x)
       (if (= (cdr x) d) (setq skip T) (setq out (cons x out))))
      ((setq x (tree-hvac-remove x d)) (setq out (cons x out)))))
  (reverse out))

;; TREE with ITEM added as the last child of the item of data GROUP, at any depth; unchanged
;; when GROUP is not there.
(defun tree-hvac-addUnder (tree group item / out rest x)
  (setq rest tree)
  (while rest
    (setq x (car rest) rest (cdr rest))
    (cond
      ((and (tree-hvac-item-p x) (= (cdr x) group))
       (if (and rest (listp (car rest)) (not (tree-hvac-item-p (car rest))))
         (setq out (cons (append (car rest) (list item)) (cons x out)) rest (cdr rest))
         (setq out (cons (list item) (cons x out)))))
      ((tree-hvac-item-p x) (setq out (cons x out)))
      (T (setq out (cons (tree-hvac-addUnder x group item) out)))))
  (reverse out))

;; TREE with the item of data D called LABEL.
(defun tree-hvac-relabel (tree d label)
  (mapcar '(lambda (x)
             (cond ((and (tree-hvac-item-p x) (= (cdr x) d)) (cons label d))
                   ((tree-hvac-item-p x) x)
                   (T (tree-hvac-relabel x d label))))
          tree))

;; The label of the item of data D in TREE, or nil.
(defun tree-hvac-label (tree d / found)
  (foreach x tree
    (cond (found)
          ((tree-hvac-item-p x) (if (= (cdr x) d) (setq found (car x))))
          (T (setq found (tree-hvac-label x d)))))
  found)

;; The data of the floor or zone that holds D in TREE: D itself for a group, nil for a room
;; filed nowhere.
(defun tree-hvac-groupOf (tree d / group found)
  (if (> d 0)
    d
    (progn
      (foreach x tree
        (cond (found)
              ((tree-hvac-item-p x) (setq group (cdr x)))
              ((member d (tree-hvac-allData x)) (setq found group))))
      found)))

;; Text typed at PROMPT, nil for Enter or a cancel.
(defun tree-hvac-ask (prompt / typed)
  (setq typed (vl-catch-all-apply 'getstring (list T prompt)))
  (if (and (eq (type typed) 'STR) (/= (vl-string-trim " " typed) "")) (vl-string-trim " " typed)))

;; Renames ITEM of tree NAME by a typed name; a room's label and project listing follow. Enter
;; or Esc keeps the old name. Answers the dialog's (item tree).
(defun tree-hvac-rename (name item / tree old new e)
  (setq tree (tree-hvac-get name)
        old (tree-hvac-label tree item))
  (cond
    ((null old) (princ "\nNothing to rename there."))
    ((null (setq new (tree-hvac-ask (strcat "\nNew name for \"" old "\" <keep>: ")))))
    (T
     (if (< item 0)
       (progn
         (if (setq e (room-hvac-entity (- item))) (kv_hvac-room-updateLabel e new))
         (room-hvac-register (- item) new)
         (tree-hvac-relabelEverywhere item new))
       (tree-hvac-store name (tree-hvac-relabel tree item new)))))
  (list item (tree-hvac-get name)))

;; A room has one name in both trees.
(defun tree-hvac-relabelEverywhere (item label)
  (foreach name '("floor" "zone")
    (tree-hvac-store name (tree-hvac-relabel (tree-hvac-get name) item label))))

;; Files rooms picked one after another (Enter or Esc ends) under the floor or zone of ITEM in
;; tree NAME, taking each out of where it was. Answers (group tree).
(defun tree-hvac-editRooms (name item / tree group p ix label moved)
  (setq tree (tree-hvac-get name)
        group (tree-hvac-groupOf tree item))
  (if (null group)
    (princ "\nChoose a floor or zone first.")
    (while (setq p (duct-nextPick nil (strcat "\nPick a room for \"" (tree-hvac-label tree group) "\" <done>: ")))
      (if (setq ix (kv_hvac-room-find p))
        (progn
          (setq label (cond ((tree-hvac-label tree (- ix)))
                            ((loads-hvac-value (strcat "SELECT sName FROM tblRoomL WHERE ixRoomL = " (itoa ix)) "sName"))
                            (T (strcat "Room " (itoa ix))))
                tree (tree-hvac-addUnder (tree-hvac-remove tree (- ix)) group (cons label (- ix)))
                moved (1+ (if moved moved 0))))
        (princ "\nNo room there."))))
  (if moved (tree-hvac-store name tree))
  (list (if group group item) (tree-hvac-get name)))

;; Edits ITEM of tree NAME: a room through the room editor, a floor or zone by its name.
(defun tree-hvac-edit (name item)
  (if (< item 0)
    (progn
      (if (room-hvac-entity (- item)) (room-hvac-editRoom (- item)) (princ "\nThat room is not in this drawing."))
      (list item (tree-hvac-get name)))
    (tree-hvac-rename name item)))

(defun kv_hvac-floorTree-saveTree (tree) (tree-hvac-store "floor" tree) nil)
(defun kv_hvac-zoneTree-saveTree (tree) (tree-hvac-store "zone" tree) nil)
(defun kv_hvac-floorTree-createRoom () (tree-hvac-createRoom "floor"))
(defun kv_hvac-zoneTree-createRoom () (tree-hvac-createRoom "zone"))
(defun kv_hvac-floorTree-editFloors (item) (tree-hvac-addGroup "floor" "Floor"))
(defun kv_hvac-zoneTree-editZones (item) (tree-hvac-addGroup "zone" "Zone"))
(defun kv_hvac-floorTree-edit (item) (tree-hvac-edit "floor" item))
(defun kv_hvac-floorTree-rename (item) (tree-hvac-rename "floor" item))
(defun kv_hvac-floorTree-editRooms (item) (tree-hvac-editRooms "floor" item))
(defun kv_hvac-zoneTree-edit (item) (tree-hvac-edit "zone" item))
(defun kv_hvac-zoneTree-rename (item) (tree-hvac-rename "zone" item))
(defun kv_hvac-zoneTree-editRooms (item) (tree-hvac-editRooms "zone" item))

;; Load Detail for the room or zone of ITEM.
(defun kv_hvac-zoneTree-view (item)
  (if (< item 0)
    (loads-hvac-showRoom (- item))
    (loads-hvac-showZone item)))

;; Commands KV-FLOORTREE and KV-ZONETREE: the stored trees in their dialogs.
(defun c:kv-floorTree () (kv_hvac-floorTree (tree-hvac-get "floor")) (princ))
(defun c:kv-zoneTree () (kv_hvac-zoneTree (tree-hvac-get "zone")) (princ))
